#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace lumora {

/// Exit statuses of lmsh, kforutil and lmadm. Scripts depend on the numbers.
enum class EStatus : int
{
    OK = 0,
    UNEXPECTED = 1,  ///< a failure that no other status describes
    MALFORMED = 2,   ///< script or command line that cannot be understood, or an unusable name
    MISSING = 3,     ///< an object does not exist
    EXISTS = 4,      ///< an object exists already
    IN_USE = 5,      ///< an object is needed by another one
    STORAGE = 6,     ///< no space, or reading or writing failed
    UNUSABLE = 7     ///< store or configuration missing, damaged or not ours
};

enum class EObject : uint8_t
{
    NONE,
    APPLIANCE,
    HOST,
    GROUP,
    LUN,
    ANNOTATION,
    TIME_IMAGE,
    PERMISSION,
    FAULT
};

/// A refusal: one line of text that names the object, and the exit status that goes with it.
class EApplianceError : public std::runtime_error
{
  public:
    EApplianceError(EStatus status, const std::string& text, EObject object = EObject::NONE)
        : std::runtime_error(text), m_status(status), m_object(object)
    {
    }

    EStatus status() const noexcept { return m_status; }
    /// The kind of object that the text is about, so that a caller can say where to look for the existing ones.
    EObject object() const noexcept { return m_object; }

  private:
    EStatus m_status;
    EObject m_object;
};

/// The word for a status in a document, such as "in-use".
std::string_view statusWord(EStatus status) noexcept;

/// The word for an object in messages, such as "time image".
std::string_view objectWord(EObject object) noexcept;

/// The name in double quotes, for a message: what is no character to show is there as \xNN, so that it stays one line.
std::string inQuotes(std::string_view name);

/// Runs `step`, which tidies up behind a command that has had its effect already. A refusal is no failure of the
/// command: what was left undone is for the next one.
void tidyUp(const std::function<void()>& step);

/// `annotation "a" does not exist in group "g"`; `where` may be empty.
[[noreturn]] void throwMissing(EObject object, std::string_view name, const std::string& where);
/// `annotation "a" exists already in group "g"`.
[[noreturn]] void throwExists(EObject object, std::string_view name, const std::string& where);
/// `cannot write PATH: No space left on device`; status storage.
[[noreturn]] void throwStorage(std::string_view doing, const std::string& path, int error);

}  // namespace lumora
