#include "providers/cdp/lmr/lmr_commands.h"

#include <algorithm>

namespace cdpfi {
namespace {

// Every word carries its own blanks, so two words stand two blanks apart.
constexpr const char* ADD = " add ";
constexpr const char* ANNOTATION = " annotation ";
constexpr const char* CGROUP = " cgroup ";
constexpr const char* CGROUPS = " cgroups ";
constexpr const char* COMMIT = " commit ";
constexpr const char* CREATE = " create ";
constexpr const char* CREATED_BY = " CreatedByKestrav ";
constexpr const char* DELETE = " delete ";
constexpr const char* DISCOVER = " discover ";
constexpr const char* EXPIRATION = " expiration ";
constexpr const char* HOST = " host ";
constexpr const char* HOSTS = " hosts ";
constexpr const char* LIST = " list ";
constexpr const char* LIST_DISK = " listdisk ";
constexpr const char* MESSAGE = " message ";
constexpr const char* MODE = " mode ";
constexpr const char* NEVER = "0\n";
constexpr const char* NEW_LINE = "\n";
constexpr const char* NO = " no ";
constexpr const char* PERMISSION = " permission ";
constexpr const char* PRESERVE = " preserve ";
constexpr const char* PREVENT = " prevent ";
constexpr const char* PROACTIVE = " proactive ";
constexpr const char* SET = " set ";
constexpr const char* SHOW = " show ";
constexpr const char* TIMEIMAGE = " timeimage ";
constexpr const char* TIMEIMAGES = " timeimages ";
constexpr const char* TIMEOUT = " timeout ";
constexpr const char* UPDATE = " update ";
constexpr const char* USE = " use ";

/// Puts a command together word by word.
class CBuilder
{
  public:
    template <class... Words>
    CBuilder& words(Words... all)
    {
        ((m_command.m_text += all), ...);
        return *this;
    }
    CBuilder& name(const CString& text)
    {
        if (!m_command.m_refused && !isSendableName(text)) {
            m_command.m_refused = true;
            m_command.m_refusedName = bytesOf(text);
        }
        m_command.m_text += '"';
        m_command.m_text += bytesOf(text);
        m_command.m_text += '"';
        return *this;
    }
    CBuilder& names(const CString& first, const CString& second) { return name(first).words(" ").name(second); }
    SLMRCommand take() const { return m_command; }

  private:
    SLMRCommand m_command;
};

/// A command that gives a host a permission or takes it away.
/// @param update names what the permission is for
/// @param change ADD or DELETE
SLMRCommand changePermission(CBuilder update, const char* change, const CString& host)
{
    return update.words(NEW_LINE, change, PERMISSION).name(host).words(NEW_LINE, COMMIT).take();
}

}  // namespace

bool isSendableName(const CString& name)
{
    return std::ranges::none_of(bytesOf(name), [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte < 0x20 || byte == 0x7f || byte == '"';
    });
}

namespace lmr_commands {

//  list  hosts
SLMRCommand listHosts()
{
    return CBuilder().words(LIST, HOSTS).take();
}

//  show  host "H"
SLMRCommand showHost(const CString& host)
{
    return CBuilder().words(SHOW, HOST).name(host).take();
}

//  list  cgroups
SLMRCommand listGroups()
{
    return CBuilder().words(LIST, CGROUPS).take();
}

//  show  cgroup "G"
SLMRCommand showGroup(const CString& group)
{
    return CBuilder().words(SHOW, CGROUP).name(group).take();
}

//  create  annotation "CP" "G"
//  set  message  CreatedByKestrav
//  commit
SLMRCommand createCheckPoint(const CString& checkpoint, const CString& group)
{
    return CBuilder()
        .words(CREATE, ANNOTATION)
        .names(checkpoint, group)
        .words(NEW_LINE)
        .words(SET, MESSAGE, CREATED_BY, NEW_LINE)
        .words(COMMIT)
        .take();
}

//  delete  annotation "CP" "G"
SLMRCommand deleteCheckPoint(const CString& checkpoint, const CString& group)
{
    return CBuilder().words(DELETE, ANNOTATION).names(checkpoint, group).take();
}

//  create  timeimage "TI" "G"
//  use  annotation "CP"
//  add  permission "H"
//  set  preserve  mode  no
//  set  prevent  expiration  timeout 0
//  set  proactive  expiration  timeout 0
//  commit
SLMRCommand createTimeImage(const CString& timeImage, const CString& group, const CString& checkpoint,
                            const CString& host)
{
    return CBuilder()
        .words(CREATE, TIMEIMAGE)
        .names(timeImage, group)
        .words(NEW_LINE)
        .words(USE, ANNOTATION)
        .name(checkpoint)
        .words(NEW_LINE)
        .words(ADD, PERMISSION)
        .name(host)
        .words(NEW_LINE)
        .words(SET, PRESERVE, MODE, NO, NEW_LINE)
        .words(SET, PREVENT, EXPIRATION, TIMEOUT, NEVER)
        .words(SET, PROACTIVE, EXPIRATION, TIMEOUT, NEVER)
        .words(COMMIT)
        .take();
}

//  delete  timeimage "TI" "G"
SLMRCommand deleteTimeImage(const CString& timeImage, const CString& group)
{
    return CBuilder().words(DELETE, TIMEIMAGE).names(timeImage, group).take();
}

//  list  timeimages "G"
SLMRCommand listTimeImages(const CString& group)
{
    return CBuilder().words(LIST, TIMEIMAGES).name(group).take();
}

//  show  timeimage "TI" "G"
SLMRCommand showTimeImage(const CString& timeImage, const CString& group)
{
    return CBuilder().words(SHOW, TIMEIMAGE).names(timeImage, group).take();
}

//  update  timeimage "G"
//  add  permission "H"
//  commit
SLMRCommand permitGroup(const CString& group, const CString& host)
{
    return changePermission(CBuilder().words(UPDATE, TIMEIMAGE).name(group), ADD, host);
}

//  update  timeimage "G"
//  delete  permission "H"
//  commit
SLMRCommand forbidGroup(const CString& group, const CString& host)
{
    return changePermission(CBuilder().words(UPDATE, TIMEIMAGE).name(group), DELETE, host);
}

//  update  timeimage "TI" "G"
//  add  permission "H"
//  commit
SLMRCommand permitTimeImage(const CString& timeImage, const CString& group, const CString& host)
{
    return changePermission(CBuilder().words(UPDATE, TIMEIMAGE).names(timeImage, group), ADD, host);
}

}  // namespace lmr_commands

namespace lmr_utility {

// "/usr/sbin/kforutil" discover
std::string discover(const std::string& program)
{
    return '"' + program + '"' + DISCOVER;
}

// "/usr/sbin/kforutil" listdisk
std::string listDisks(const std::string& program)
{
    return '"' + program + '"' + LIST_DISK;
}

}  // namespace lmr_utility

}  // namespace cdpfi
