#include "host/src/bundle/pseudonyms.h"

#include <array>
#include <cctype>

#include "host/src/recording/recording.h"

namespace fictl {

namespace {

using nlohmann::json;

enum class EByte
{
    LETTER,
    DIGIT,
    OTHER,
};

EByte kindOf(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    if (std::isdigit(byte) != 0) return EByte::DIGIT;
    return std::isalpha(byte) != 0 || byte >= 0x80U ? EByte::LETTER : EByte::OTHER;
}

// Whether a name can begin, or end, between two bytes.
bool isSeam(char before, char after)
{
    return kindOf(before) == EByte::OTHER || kindOf(before) != kindOf(after);
}

// In letters, so that a digit behind a name stays one by itself; four as a rule, so that they keep their order.
std::string lettersOf(size_t number)
{
    constexpr size_t LETTERS = 26;
    constexpr size_t USUAL = 4;
    std::string text;
    for (; text.size() < USUAL || number > 0; number /= LETTERS) {
        text.insert(text.begin(), static_cast<char>('a' + number % LETTERS));
    }
    return text;
}

std::string pseudonymOf(ENamed kind, const std::string& name, size_t number)
{
    constexpr std::array PREFIXES = {"appliance", "host",   "domain", "",    "group",
                                     "lun",       "SERIAL", "label",  "note"};  // of ENamed
    constexpr size_t ADDRESSES = 250;
    if (kind == ENamed::ADDRESS) {  // of those that stand in documentation only
        return name.find(':') != std::string::npos
                   ? "2001:db8::" + std::to_string(number + 1)
                   : "198.18." + std::to_string(number / ADDRESSES) + "." + std::to_string(number % ADDRESSES + 1);
    }
    if (kind == ENamed::DOMAIN) return "domain" + lettersOf(number) + ".invalid";
    std::string marks;
    for (const char character : name) {
        if (kindOf(character) == EByte::OTHER) marks += character;
    }
    return PREFIXES.at(static_cast<size_t>(kind)) + marks + lettersOf(number);
}

bool isHex(const json& document)
{
    return document.is_object() && document.size() == 1 && document.contains("hex") && document["hex"].is_string();
}

std::string bytesOf(const std::string& hex)
{
    std::string bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

}  // namespace

CPseudonyms::CPseudonyms(const CNames& names)
{
    std::map<ENamed, size_t> numbers;
    for (const auto& [name, kind] : names.all()) {
        m_pseudonyms[name] = pseudonymOf(kind, name, numbers[kind]++);
        m_sizes.insert(name.size());
    }
}

size_t CPseudonyms::nameAt(const std::string& text, size_t at) const
{
    if (at > 0 && !isSeam(text[at - 1], text[at])) return 0;
    for (const size_t size : m_sizes) {
        const size_t end = at + size;
        if (end > text.size() || (end < text.size() && !isSeam(text[end - 1], text[end]))) continue;
        if (m_pseudonyms.contains(std::string_view(text).substr(at, size))) return size;
    }
    return 0;
}

std::string CPseudonyms::renamed(const std::string& text) const
{
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const size_t size = nameAt(text, at);
        if (size == 0) {
            result += text[at++];
        } else {
            result += m_pseudonyms.find(std::string_view(text).substr(at, size))->second;
            at += size;
        }
    }
    return result;
}

void CPseudonyms::renameKeys(json& labels) const
{
    if (!labels.is_object()) return;
    json renamedLabels = json::object();
    for (const auto& [key, value] : labels.items()) {
        renamedLabels[renamed(key)] = value;
    }
    labels = std::move(renamedLabels);
}

void CPseudonyms::rename(json& document) const
{
    if (document.is_string()) {
        document = renamed(document.get<std::string>());
    } else if (isHex(document)) {
        document = conversationText(renamed(bytesOf(document["hex"])));
    } else if (document.is_structured()) {
        if (document.is_object() && document.contains(LABELS_KEY)) renameKeys(document[LABELS_KEY]);
        for (json& part : document) {
            rename(part);
        }
    }
}

}  // namespace fictl
