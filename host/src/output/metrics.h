#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace fictl {

/// Names and values of a sample's labels, in this order.
using MetricLabels = std::vector<std::pair<std::string, std::string>>;

/**
 * A text in the format of OpenMetrics 1.0, of gauges alone:
 *
 *     # HELP fictl_snapshots Snapshots in the catalog, by state.
 *     # TYPE fictl_snapshots gauge
 *     fictl_snapshots{state="complete"} 10
 *     # EOF
 *
 * A gauge without a sample is left away.
 */
class CMetrics
{
  public:
    /// Begins a gauge; a name that ends in _seconds has that unit, any other has none.
    void gauge(const std::string& name, const std::string& help);
    /// A sample of the gauge that was begun last.
    void sample(const MetricLabels& labels, int64_t value);

    std::string text() const { return m_text + "# EOF\n"; }

  private:
    std::string m_name;
    std::string m_head;  // of the gauge that was begun last; empty once it stands in the text
    std::string m_text;
};

}  // namespace fictl
