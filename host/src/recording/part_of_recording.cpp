#include "host/src/recording/part_of_recording.h"

#include "base/file_read.h"
#include "host/src/output/error.h"
#include "host/src/recording/recording.h"

namespace fictl {

namespace {

constexpr const char* FILE_NAME = "part.jsonl";
constexpr size_t LONGEST = size_t{256} * 1024 * 1024;

}  // namespace

CPartOfRecording::CPartOfRecording(std::vector<std::string>& words)
{
    CRecording* const recording = CRecording::current();
    if (recording == nullptr) return;
    try {
        m_folder.emplace();
        words.insert(words.end(), {"--record", m_folder->path() / FILE_NAME});
    } catch (const EFictl& error) {
        recording->missPart(error.what());
    }
}

CPartOfRecording::~CPartOfRecording()
{
    CRecording* const recording = CRecording::current();
    if (recording == nullptr || !m_folder) return;
    const base::SFileText part = base::readFile(m_folder->path() / FILE_NAME, LONGEST);
    if (part) {
        recording->addPart(part.text, m_began);
    } else {
        recording->missPart("what another process asked cannot be read: " + base::reasonOf(part, LONGEST));
    }
}

}  // namespace fictl
