#include "host/src/process/own_setting.h"

#include "framework/include/obzx_runtime.h"
#include "host/src/text/shell_words.h"

namespace fictl {

std::set<std::string> wordsOfSetting(const char* section, const char* name)
{
    char* const setting = obzx_get_setting("fictl", section, name);
    if (setting == nullptr) return {};
    const std::string text = setting;
    obzx_free_buf(setting, 0);
    const std::vector<std::string> words = separatedWords(text, ", \t");
    return {words.begin(), words.end()};
}

}  // namespace fictl
