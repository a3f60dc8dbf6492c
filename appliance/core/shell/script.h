#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "appliance/core/content/protection.h"

namespace lumora {

/// The commands of the shell language, one record each. Names are as written; whether they exist is not known yet.
struct SListHosts
{
};
struct SListGroups
{
};
struct SShowHost
{
    std::string host;
};
struct SShowGroup
{
    std::string group;
};
struct SCreateAnnotation
{
    std::string name;
    std::string group;
    std::string message;
};
struct SDeleteAnnotation
{
    std::string name;
    std::string group;
};
struct SCreateTimeImage
{
    STimeImageRequest request;
};
struct SDeleteTimeImage
{
    std::string name;
    std::string group;
};
struct SPermissionChange
{
    bool add = true;
    std::string host;
};
struct SUpdateGroup
{
    std::string group;
    std::vector<SPermissionChange> changes;
};
struct SUpdateTimeImage
{
    std::string name;
    std::string group;
    std::vector<SPermissionChange> changes;
};
struct SListTimeImages
{
    std::string group;
};
struct SShowTimeImage
{
    std::string name;
    std::string group;
};

using Command =
    std::variant<SListHosts, SListGroups, SShowHost, SShowGroup, SCreateAnnotation, SDeleteAnnotation, SCreateTimeImage,
                 SDeleteTimeImage, SUpdateGroup, SUpdateTimeImage, SListTimeImages, SShowTimeImage>;

struct SScript
{
    std::string server;
    std::vector<Command> commands;
};

/// Longest script that is read.
constexpr size_t MAX_SCRIPT_SIZE = size_t{1} << 20U;

/// Reads a whole script:
///
///   script     = "server" name  { command }  "exit"
///   command    = "list" "hosts" | "list" "cgroups" | "show" "host" Q | "show" "cgroup" Q
///              | "create" "annotation" Q Q        { "set" "message" word }                        "commit"
///              | "delete" "annotation" Q Q
///              | "create" "timeimage" Q Q         { "use" "annotation" Q | "add" "permission" Q
///                                                 | "set" "preserve" "mode" ("no" | "yes")
///                                                 | "set" "prevent" "expiration" "timeout" number
///                                                 | "set" "proactive" "expiration" "timeout" number }  "commit"
///              | "delete" "timeimage" Q Q
///              | "update" "timeimage" [Q] Q       { "add" "permission" Q | "delete" "permission" Q }  "commit"
///              | "list" "timeimages" Q | "show" "timeimage" Q Q
///
/// Each keyword line stands on a line of its own; words are separated by blanks and tabs, Q is a name in double quotes,
/// a lone word may be quoted too. Empty lines do not count. The names are time image or annotation first, then group;
/// with one name only, "update timeimage" is about the whole group. A setting may be given once; "use annotation" and
/// at least one permission change are required.
///
/// Throws status malformed, "line N: ..." in the text: also for a script that ends without "exit", so that one that was
/// cut off changes nothing.
SScript parseScript(std::string_view text);

}  // namespace lumora
