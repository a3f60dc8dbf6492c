#include "host/src/output/secrets.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/src/output/result.h"
#include "host/src/text/plain_text.h"

namespace fictl {

CSecrets::CSecrets(std::vector<std::string> texts, std::string standIn) : m_standIn(std::move(standIn))
{
    constexpr size_t SHORTEST = 4;
    for (std::string& text : texts) {
        if (text.size() < SHORTEST) continue;
        for (const std::string& form : {printable(text), asUtf8(text), text}) {
            if (std::ranges::find(m_texts, form) == m_texts.end()) m_texts.push_back(form);
        }
    }
    std::ranges::stable_sort(m_texts, std::ranges::greater(), &std::string::size);
}

std::string CSecrets::hidden(std::string text) const
{
    for (const std::string& secret : m_texts) {
        for (size_t at = 0; (at = text.find(secret, at)) != std::string::npos; at += m_standIn.size()) {
            text.replace(at, secret.size(), m_standIn);
        }
    }
    return text;
}

void CSecrets::hide(json& document) const
{
    if (document.is_string()) {
        document = hidden(document.get<std::string>());
    } else if (document.is_structured()) {
        for (json& part : document) {
            hide(part);
        }
    }
}

std::string CSecrets::hiddenOutput(const std::string& output) const
{
    if (m_texts.empty()) return output;
    json document = json::parse(output, nullptr, false);
    if (!document.is_object()) return hidden(output);
    hide(document);
    return documentText(std::move(document));
}

}  // namespace fictl
