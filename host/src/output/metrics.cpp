#include "host/src/output/metrics.h"

#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// Line ends and backslashes everywhere, double quotes in values alone.
std::string escaped(const std::string& text, bool isValue)
{
    std::string safe;
    for (const char character : text) {
        if (character == '\n') {
            safe += "\\n";
            continue;
        }
        if (character == '\\' || (isValue && character == '"')) safe += '\\';
        safe += character;
    }
    return safe;
}

}  // namespace

void CMetrics::gauge(const std::string& name, const std::string& help)
{
    m_name = name;
    m_head = "# HELP " + name + " " + escaped(help, false) + "\n# TYPE " + name + " gauge\n";
    if (name.ends_with("_seconds")) m_head += "# UNIT " + name + " seconds\n";
}

void CMetrics::sample(const MetricLabels& labels, int64_t value)
{
    m_text += m_head + m_name;
    m_head.clear();
    const char* before = "{";
    for (const auto& [label, text] : labels) {
        m_text += before + label + "=\"" + escaped(asUtf8(text), true) + "\"";
        before = ",";
    }
    m_text += (labels.empty() ? " " : "} ") + std::to_string(value) + "\n";
}

}  // namespace fictl
