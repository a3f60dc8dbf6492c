#include "framework/include/cficonfiguration.h"

#include <ace/Configuration_Import_Export.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <charconv>
#include <climits>
#include <new>

#include "framework/include/cfistringtool.h"
#include "framework/src/configuration_path.h"
#include "framework/src/file_descriptor.h"

namespace obzx_pdk_4_4 {

namespace {

constexpr off_t MAX_STORE_SIZE = off_t{1024} * 1024;
// More than a store was seen to take while it is read: 50 KiB for a few lines.
constexpr size_t STORE_MEMORY = size_t{128} * 1024;
constexpr size_t STORE_MEMORY_PER_BYTE = 32;

// Whatever the path names is opened without waiting, so that a FIFO or a device in the store's place cannot stop the
// host; the importer then reads the very file that was looked at.
CFileDescriptor openStore(const std::string& path, off_t& size)
{
    CFileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > MAX_STORE_SIZE)
        return {};
    size = status.st_size;
    return file;
}

// The store's classes do not look whether they got the memory that they ask for, and end the host when they did not.
// What they take is asked for in one piece first, and given back: without memory there is an exception instead.
void requireMemoryFor(off_t storeSize)
{
    ::operator delete(::operator new(STORE_MEMORY + STORE_MEMORY_PER_BYTE * static_cast<size_t>(storeSize)));
}

}  // namespace

std::string configurationPath(const ACE_String_Base<char>& component)
{
    const std::string name = CFiStringTool::tstr2str(component);
    if (name.empty() || name.find('/') != std::string::npos || name.find('\0') != std::string::npos) return {};
    return placePath("/etc/qz/" + name + ".conf");
}

CFiConfiguration::CFiConfiguration(const ACE_String_Base<char>& component)
{
    const std::string path = configurationPath(component);
    if (path.empty()) return;
    off_t size = 0;
    const CFileDescriptor file = openStore(path, size);
    if (!file) return;
    requireMemoryFor(size);
    auto store = std::make_unique<ACE_Configuration_Heap>();
    if (store->open() != 0) return;
    const std::string opened = "/proc/self/fd/" + std::to_string(file.get());
    if (ACE_Ini_ImpExp(*store).import_config(opened.c_str()) == 0) m_store = std::move(store);
}

CFiConfiguration::~CFiConfiguration() = default;

int CFiConfiguration::openSection(const char* section, ACE_Configuration_Section_Key& key, int /*readOnly*/)
{
    m_sectionOpen = false;
    if (m_store == nullptr || section == nullptr || *section == '\0') return -1;
    if (m_store->open_section(m_store->root_section(), section, 0, key) != 0) return -1;
    m_section = key;
    m_sectionOpen = true;
    return 0;
}

int CFiConfiguration::getStringValue(const char* name, ACE_String_Base<char>& value)
{
    if (!m_sectionOpen || name == nullptr || *name == '\0') return -1;
    // A text that finds no memory for its new value says nothing and keeps the one it had.
    const ACE_TString none("\1");
    ACE_TString found(none);
    if (m_store->get_string_value(m_section, name, found) != 0) return -1;
    if (none.empty() || found == none) throw std::bad_alloc();
    value = found;
    if (value != found) throw std::bad_alloc();
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

}  // namespace obzx_pdk_4_4
