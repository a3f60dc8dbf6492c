#include "framework/src/messages/icu_message_catalog.h"

#include <unicode/unistr.h>
#include <unicode/ures.h>

#include <new>
#include <string_view>
#include <utility>

#include "framework/src/system/folder_names.h"
#include "framework/src/text/locale_name.h"

namespace obzx_pdk_4_4 {

namespace {

constexpr std::string_view BUNDLE = ".res";

// ICU sets its cache of bundles up once for the life of the process. If it found no memory then, no bundle could ever
// be opened. So that comes when this library is loaded, with a bundle that cannot be there.
[[maybe_unused]] const bool CACHE_IS_SET_UP = [] {
    UErrorCode status = U_ZERO_ERROR;
    ures_close(ures_openDirect("/dev/null", "root", &status));
    return status != U_MEMORY_ALLOCATION_ERROR;
}();

}  // namespace

CIcuMessageCatalog::CIcuMessageCatalog(std::string folder, std::string rootName)
    : m_folder(std::move(folder)), m_rootName(std::move(rootName))
{
    for (const std::string& name : folderNames(m_folder)) {
        if (name.size() > BUNDLE.size() && name.ends_with(BUNDLE)) {
            m_locales.emplace(name.substr(0, name.size() - BUNDLE.size()));
        }
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
    const auto known = m_bundles.find(bundle);
    if (known != m_bundles.end()) return known->second;
    CPatterns patterns;
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUResourceBundlePointer table(ures_openDirect(m_folder.c_str(), bundle.c_str(), &status));
    while (U_SUCCESS(status) && ures_hasNext(table.getAlias())) {
        const char* key = nullptr;
        int32_t length = 0;
        UErrorCode entryStatus = U_ZERO_ERROR;
        const UChar* text = ures_getNextString(table.getAlias(), &length, &key, &entryStatus);
        if (U_FAILURE(entryStatus) || key == nullptr || text == nullptr) continue;  // not a text
        std::string& pattern = patterns[key];
        icu::UnicodeString(false, text, length).toUTF8String(pattern);
    }
    // A bundle that found no memory is not kept: the next message reads it again.
    if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
    return m_bundles.emplace(bundle, std::move(patterns)).first->second;
}

}  // namespace obzx_pdk_4_4
