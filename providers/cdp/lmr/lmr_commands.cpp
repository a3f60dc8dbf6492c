#include "providers/cdp/lmr/lmr_commands.h"

#include <algorithm>

#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/lmr_appliance.h"
#include "providers/cdp/lmr/lmr_appliance_tool.h"

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
    SLMRCommand take() const { return m_command; }

  private:
    SLMRCommand m_command;
};

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
        .name(checkpoint)
        .words(" ")
        .name(group)
        .words(NEW_LINE)
        .words(SET, MESSAGE, CREATED_BY, NEW_LINE)
        .words(COMMIT)
        .take();
}

//  delete  annotation "CP" "G"
SLMRCommand deleteCheckPoint(const CString& checkpoint, const CString& group)
{
    return CBuilder().words(DELETE, ANNOTATION).name(checkpoint).words(" ").name(group).take();
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
        .name(timeImage)
        .words(" ")
        .name(group)
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
    return CBuilder().words(DELETE, TIMEIMAGE).name(timeImage).words(" ").name(group).take();
}

//  list  timeimages "G"
SLMRCommand listTimeImages(const CString& group)
{
    return CBuilder().words(LIST, TIMEIMAGES).name(group).take();
}

//  show  timeimage "TI" "G"
SLMRCommand showTimeImage(const CString& timeImage, const CString& group)
{
    return CBuilder().words(SHOW, TIMEIMAGE).name(timeImage).words(" ").name(group).take();
}

//  update  timeimage "G"
//  add  permission "H"
//  commit
SLMRCommand permitGroup(const CString& group, const CString& host)
{
    return CBuilder()
        .words(UPDATE, TIMEIMAGE)
        .name(group)
        .words(NEW_LINE)
        .words(ADD, PERMISSION)
        .name(host)
        .words(NEW_LINE)
        .words(COMMIT)
        .take();
}

//  update  timeimage "G"
//  delete  permission "H"
//  commit
SLMRCommand forbidGroup(const CString& group, const CString& host)
{
    return CBuilder()
        .words(UPDATE, TIMEIMAGE)
        .name(group)
        .words(NEW_LINE)
        .words(DELETE, PERMISSION)
        .name(host)
        .words(NEW_LINE)
        .words(COMMIT)
        .take();
}

//  update  timeimage "TI" "G"
//  add  permission "H"
//  commit
SLMRCommand permitTimeImage(const CString& timeImage, const CString& group, const CString& host)
{
    return CBuilder()
        .words(UPDATE, TIMEIMAGE)
        .name(timeImage)
        .words(" ")
        .name(group)
        .words(NEW_LINE)
        .words(ADD, PERMISSION)
        .name(host)
        .words(NEW_LINE)
        .words(COMMIT)
        .take();
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

int sendCommand(const obzx_pdk_4_4::CFiTraceable& caller, const CString& server, const SLMRCommand& command,
                std::vector<std::string>& lines)
{
    constexpr int NOT_SENT = -1;
    lines.clear();
    if (command.m_refused) {
        caller.trace(obzx_pdk_4_4::TRACE_INVALID,
                     "Name [%s] holds a double quote or a control character, command is not sent",
                     command.m_refusedName);
        return NOT_SENT;
    }
    const auto tool = CLMRAppliance::getCLMRApplianceToolSingletonPtr();
    if (!tool) {
        caller.trace(obzx_pdk_4_4::TRACE_FAILURE, "No appliance is initialized, command is not sent");
        return NOT_SENT;
    }
    return tool->execLMSH(server, textOf(command.m_text), lines);
}

}  // namespace cdpfi
