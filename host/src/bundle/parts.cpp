#include "host/src/bundle/parts.h"

#include "host/src/output/result.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

std::string linesText(const json& lines)
{
    std::string text;
    for (const json& line : lines) {
        text += line.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
    }
    return text;
}

}  // namespace

FileTexts SParts::texts() const
{
    FileTexts texts;
    for (const auto& [name, content] : files) {
        texts[name] = content.is_string()  ? content.get<std::string>()
                      : content.is_array() ? linesText(content)
                                           : documentText(content);
    }
    return texts;
}

json SParts::missingJson() const
{
    json list = json::array();
    for (const SMissingPart& each : missing) {
        list.push_back({{"part", each.part}, {"reason", each.reason}});
    }
    return list;
}

}  // namespace fictl
