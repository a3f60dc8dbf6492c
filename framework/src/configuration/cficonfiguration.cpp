#include "framework/include/cficonfiguration.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <new>

#include "base/file_read.h"
#include "framework/include/cfistringtool.h"
#include "framework/src/configuration/configuration_path.h"
#include "framework/src/configuration/ini_store.h"

namespace obzx_pdk_4_4 {

namespace {

constexpr size_t MAX_STORE_SIZE = size_t{1024} * 1024;

}  // namespace

std::string placePath(const std::string& path)
{
    const char* root = ::secure_getenv("OBZX_ROOT");
    if (root == nullptr || *root == '\0') return path;
    std::string placed = root;
    while (!placed.empty() && placed.back() == '/') {
        placed.pop_back();
    }
    if (path.empty() || path.front() != '/') placed += '/';
    return placed + path;
}

struct CFiConfiguration::SStore
{
    std::string path;
    CIniStore sections;
    const CIniStore::CSection* open = nullptr;
};

CFiConfiguration::CFiConfiguration(const ACE_String_Base<char>& component) : m_store(std::make_unique<SStore>())
{
    m_store->path = configurationPath(component);
    if (m_store->path.empty()) return;
    if (const auto file = base::readFile(m_store->path, MAX_STORE_SIZE)) m_store->sections = CIniStore(file.text);
}

CFiConfiguration::~CFiConfiguration() = default;

int CFiConfiguration::openSection(const char* section, ACE_Configuration_Section_Key& /*key*/, int /*readOnly*/)
{
    m_store->open = section == nullptr ? nullptr : m_store->sections.findSection(section);
    return m_store->open == nullptr ? -1 : 0;
}

int CFiConfiguration::getStringValue(const char* name, ACE_String_Base<char>& value)
{
    if (m_store->open == nullptr || name == nullptr) return -1;
    const auto found = m_store->open->find(std::string_view(name));
    if (found == m_store->open->end()) return -1;
    // The text class leaves a text empty for which it finds no memory.
    const std::string& text = found->second.m_text;
    const ACE_String_Base<char> copy(text.data(), text.size());
    value = copy;
    if (copy.length() != text.size() || value != copy) throw std::bad_alloc();
    return 0;
}

int CFiConfiguration::getIntegerValue(const char* name, long& value)
{
    ACE_String_Base<char> text;
    if (getStringValue(name, text) != 0) return -1;
    const std::string digits = CFiStringTool::trim(CFiStringTool::tstr2str(text), " \t\r");
    const char* end = digits.data() + digits.size();
    long number = 0;
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    if (error != std::errc() || stop != end || number < 0 || number > INT_MAX) return -1;
    value = number;
    return 0;
}

std::string CFiConfiguration::path() const
{
    return m_store->path;
}

long CFiConfiguration::lineOf(const char* section, const char* value) const
{
    if (section == nullptr || value == nullptr) return 0;
    const CIniStore::SValue* const found = m_store->sections.findValue(section, value);
    return found == nullptr ? 0 : found->m_line;
}

const std::vector<SFiUnreadableLine>& CFiConfiguration::unreadableLines() const
{
    return m_store->sections.unreadableLines();
}

int CFiConfigurationPathTool::verify(const ACE_String_Base<char>& path)
{
    const std::string text = CFiStringTool::tstr2str(path);
    if (text.empty() || text.find('\0') != std::string::npos) return ENOENT;
    const std::string placed = placePath(text);
    struct stat status = {};
    if (::stat(placed.c_str(), &status) != 0) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    if (!S_ISREG(status.st_mode)) return EACCES;
    // The superuser may "execute" anything with any execute bit at all, and the host need not run with its real ids.
    return ::faccessat(AT_FDCWD, placed.c_str(), X_OK, AT_EACCESS) == 0 ? 0 : errno;
}

}  // namespace obzx_pdk_4_4
