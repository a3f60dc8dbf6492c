#include "appliance/core/content/workload.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "appliance/core/conventions/error.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

constexpr size_t NUMBER_SIZE = sizeof(uint64_t);

// splitmix64: a step of its sequence.
uint64_t mixed(uint64_t value) noexcept
{
    value += 0x9e3779b97f4a7c15U;
    value = (value ^ (value >> 30U)) * 0xbf58476d1ce4e5b9U;
    value = (value ^ (value >> 27U)) * 0x94d049bb133111ebU;
    return value ^ (value >> 31U);
}

uint64_t numberIn(std::string_view sector)
{
    uint64_t number = 0;
    for (size_t i = NUMBER_SIZE; i-- > 0;) {
        number = (number << 8U) | static_cast<unsigned char>(sector[i]);
    }
    return number;
}

[[noreturn]] void throwNoLog(const fs::path& file, size_t line)
{
    throw EApplianceError(EStatus::MALFORMED, "file " + inQuotes(file.string()) + " is no log of a workload: line " +
                                                  std::to_string(line) + " is not understood");
}

std::string readImage(const SWorkloadLun& lun, const fs::path& file)
{
    const base::CFileDescriptor image = openFile(file, O_RDONLY);
    std::string bytes(lun.bytes + 1, '\0');
    bytes.resize(readAt(image.get(), bytes.data(), bytes.size(), 0, file));
    if (bytes.size() != lun.bytes) {
        throw EApplianceError(EStatus::MALFORMED, "image " + inQuotes(file.string()) + " has not the " +
                                                      std::to_string(lun.bytes) + " bytes of LUN " +
                                                      inQuotes(lun.name));
    }
    return bytes;
}

// Number of the last write before the end of the prefix, for each sector of a LUN; 0 where there was none.
std::vector<uint64_t> expectedNumbers(const SWorkload& workload, size_t lun, uint64_t prefix)
{
    std::vector<uint64_t> numbers(workload.luns[lun].bytes / WORKLOAD_SECTOR);
    for (uint64_t number = 1; number <= prefix; ++number) {
        const SWorkloadWrite& write = workload.writes[number - 1];
        if (write.lun != lun) continue;
        const auto first = numbers.begin() + static_cast<std::ptrdiff_t>(write.sector);
        std::fill(first, first + static_cast<std::ptrdiff_t>(write.count), number);
    }
    return numbers;
}

void checkImage(const SWorkload& workload, size_t lun, const std::string& image, uint64_t prefix)
{
    const std::string& name = workload.luns[lun].name;
    const std::vector<uint64_t> numbers = expectedNumbers(workload, lun, prefix);
    const std::string zeros(WORKLOAD_SECTOR, '\0');
    for (uint64_t sector = 0; sector < numbers.size(); ++sector) {
        const std::string_view found = std::string_view(image).substr(sector * WORKLOAD_SECTOR, WORKLOAD_SECTOR);
        const std::string expected = numbers[sector] == 0 ? zeros : workloadContent(numbers[sector], name, sector);
        if (found == expected) continue;
        throw EApplianceError(EStatus::UNEXPECTED, "the images are no prefix of the log: up to write " +
                                                       std::to_string(prefix) + ", sector " + std::to_string(sector) +
                                                       " of LUN " + inQuotes(name) + " is of write " +
                                                       std::to_string(numbers[sector]) + ", its image says " +
                                                       std::to_string(numberIn(found)));
    }
}

}  // namespace

std::string workloadContent(uint64_t number, std::string_view lun, uint64_t sector)
{
    uint64_t state = mixed(number) ^ mixed(sector + 1);
    for (const char byte : lun) {
        state = mixed(state ^ static_cast<unsigned char>(byte));
    }
    std::string content;
    content.reserve(WORKLOAD_SECTOR);
    for (uint64_t value = number; content.size() < WORKLOAD_SECTOR; value = state = mixed(state)) {
        for (size_t i = 0; i < NUMBER_SIZE; ++i) {
            content += static_cast<char>((value >> (8 * i)) & 0xFFU);
        }
    }
    return content;
}

CWorkloadLog::CWorkloadLog(const fs::path& file, const std::vector<SWorkloadLun>& luns)
    : m_path(file), m_file(fs::exists(file) ? base::CFileDescriptor() : openFile(file, O_WRONLY | O_CREAT | O_EXCL))
{
    if (m_file.get() < 0) throw EApplianceError(EStatus::EXISTS, "log " + inQuotes(file.string()) + " exists already");
    std::string head;
    for (const SWorkloadLun& lun : luns) {
        head += "lun " + lun.name + " " + std::to_string(lun.bytes) + "\n";
    }
    append(head);
}

uint64_t CWorkloadLog::enter(const SWorkloadWrite& write)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    append(std::to_string(write.lun) + " " + std::to_string(write.sector) + " " + std::to_string(write.count) + "\n");
    return ++m_writes;
}

uint64_t CWorkloadLog::writes() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_writes;
}

void CWorkloadLog::append(const std::string& text)
{
    writeAt(m_file.get(), text, m_size, m_path);
    m_size += text.size();
}

SWorkload readWorkload(const fs::path& file)
{
    SWorkload workload;
    openFile(file, O_RDONLY);  // tells why, where the stream would not
    std::ifstream stream(file);
    size_t count = 0;
    for (std::string line; std::getline(stream, line);) {
        ++count;
        if (stream.eof()) break;
        std::istringstream words(line);
        SWorkloadLun lun;
        if (std::string word; line.rfind("lun ", 0) == 0) {
            if (!(words >> word >> lun.name >> lun.bytes)) throwNoLog(file, count);
            workload.luns.push_back(lun);
            continue;
        }
        SWorkloadWrite write;
        if (!(words >> write.lun >> write.sector >> write.count) || write.lun >= workload.luns.size()) {
            throwNoLog(file, count);
        }
        const uint64_t sectors = workload.luns[write.lun].bytes / WORKLOAD_SECTOR;
        if (write.sector > sectors || write.count > sectors - write.sector) throwNoLog(file, count);
        workload.writes.push_back(write);
    }
    if (stream.bad()) throwStorage("read", file.string(), EIO);
    if (workload.luns.empty()) throwNoLog(file, count);
    return workload;
}

uint64_t findPrefix(const SWorkload& workload, const std::map<std::string, fs::path>& images)
{
    std::vector<std::string> contents;
    uint64_t prefix = 0;
    for (const SWorkloadLun& lun : workload.luns) {
        const auto image = images.find(lun.name);
        if (image == images.end()) {
            throw EApplianceError(EStatus::MALFORMED, "no image of LUN " + inQuotes(lun.name) + " is given");
        }
        contents.push_back(readImage(lun, image->second));
        for (size_t at = 0; at + WORKLOAD_SECTOR <= lun.bytes; at += WORKLOAD_SECTOR) {
            prefix = std::max(prefix, numberIn(std::string_view(contents.back()).substr(at, NUMBER_SIZE)));
        }
    }
    if (images.size() != workload.luns.size()) {
        throw EApplianceError(EStatus::MALFORMED, "an image is given of a LUN that the log does not know");
    }
    // The last write of a prefix shows, whatever it covers: so the highest number that is found is the only candidate.
    if (prefix > workload.writes.size()) {
        throw EApplianceError(EStatus::UNEXPECTED, "the images are no prefix of the log: write " +
                                                       std::to_string(prefix) + " is not in it, which has " +
                                                       std::to_string(workload.writes.size()));
    }
    for (size_t lun = 0; lun < workload.luns.size(); ++lun) {
        checkImage(workload, lun, contents[lun], prefix);
    }
    return prefix;
}

}  // namespace lumora
