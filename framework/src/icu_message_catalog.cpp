#include "framework/src/icu_message_catalog.h"

#include <unicode/unistr.h>
#include <unicode/ures.h>

#include <filesystem>
#include <system_error>

#include "framework/src/locale_name.h"

namespace obzx_pdk_4_4 {

CIcuMessageCatalog::CIcuMessageCatalog(std::string folder, std::string rootName)
    : m_folder(std::move(folder)), m_rootName(std::move(rootName))
{
    std::error_code error;
    std::filesystem::directory_iterator entry(m_folder, error);
    while (!error && entry != std::filesystem::directory_iterator()) {
        const std::filesystem::path& path = entry->path();
        if (path.extension() == ".res") m_locales.insert(path.stem().string());
        entry.increment(error);
    }
}

CIcuMessageCatalog::~CIcuMessageCatalog() = default;

bool CIcuMessageCatalog::getPattern(const std::string& id, const std::string& locale, std::string& pattern)
{
    // ICU is asked for bundles that exist only: for any other name it would fall back to the process's own locale, and
    // it keeps every name that it was ever asked for.
    for (const std::string& name : localeChain(locale, m_rootName)) {
        if (m_locales.count(name) == 0) continue;
        const std::lock_guard lock(m_mutex);
        const CPatterns& patterns = load(name);
        const auto found = patterns.find(id);
        if (found == patterns.end()) continue;
        pattern = found->second;
        return true;
    }
    return false;
}

const CIcuMessageCatalog::CPatterns& CIcuMessageCatalog::load(const std::string& bundle)
{
    const auto [entry, isNew] = m_bundles.try_emplace(bundle);
    if (!isNew) return entry->second;
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUResourceBundlePointer table(ures_openDirect(m_folder.c_str(), bundle.c_str(), &status));
    while (U_SUCCESS(status) && ures_hasNext(table.getAlias())) {
        const char* key = nullptr;
        int32_t length = 0;
        UErrorCode entryStatus = U_ZERO_ERROR;
        const UChar* text = ures_getNextString(table.getAlias(), &length, &key, &entryStatus);
        if (U_FAILURE(entryStatus) || key == nullptr || text == nullptr) continue;  // not a text
        std::string& pattern = entry->second[key];
        icu::UnicodeString(false, text, length).toUTF8String(pattern);
    }
    return entry->second;
}

}  // namespace obzx_pdk_4_4
