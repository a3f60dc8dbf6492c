#include "host/src/process/own_setting.h"

#include <algorithm>

#include "framework/include/obzx_runtime.h"

namespace fictl {

std::set<std::string> wordsOfSetting(const char* section, const char* name)
{
    char* const setting = obzx_get_setting("fictl", section, name);
    if (setting == nullptr) return {};
    const std::string text = setting;
    obzx_free_buf(setting, 0);
    std::set<std::string> words;
    for (size_t begin = 0; (begin = text.find_first_not_of(", \t", begin)) != std::string::npos;) {
        const size_t end = std::min(text.find_first_of(", \t", begin), text.size());
        words.insert(text.substr(begin, end - begin));
        begin = end;
    }
    return words;
}

}  // namespace fictl
