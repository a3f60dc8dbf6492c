#include "appliance/core/shell/command_text.h"

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

std::string text(const SListHosts& /*command*/)
{
    return "list hosts";
}

std::string text(const SListGroups& /*command*/)
{
    return "list cgroups";
}

std::string text(const SShowHost& command)
{
    return "show host " + inQuotes(command.host);
}

std::string text(const SShowGroup& command)
{
    return "show cgroup " + inQuotes(command.group);
}

std::string text(const SCreateAnnotation& command)
{
    return "create annotation " + inQuotes(command.name) + " " + inQuotes(command.group);
}

std::string text(const SDeleteAnnotation& command)
{
    return "delete annotation " + inQuotes(command.name) + " " + inQuotes(command.group);
}

std::string text(const SCreateTimeImage& command)
{
    return "create timeimage " + inQuotes(command.request.name) + " " + inQuotes(command.request.group);
}

std::string text(const SDeleteTimeImage& command)
{
    return "delete timeimage " + inQuotes(command.name) + " " + inQuotes(command.group);
}

std::string text(const SUpdateGroup& command)
{
    return "update timeimage " + inQuotes(command.group);
}

std::string text(const SUpdateTimeImage& command)
{
    return "update timeimage " + inQuotes(command.name) + " " + inQuotes(command.group);
}

std::string text(const SListTimeImages& command)
{
    return "list timeimages " + inQuotes(command.group);
}

std::string text(const SShowTimeImage& command)
{
    return "show timeimage " + inQuotes(command.name) + " " + inQuotes(command.group);
}

}  // namespace

std::string commandText(const Command& command)
{
    return std::visit([](const auto& which) { return text(which); }, command);
}

}  // namespace lumora
