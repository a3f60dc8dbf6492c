#include "providers/cdp/lmr/lmr_answer.h"

#include <utility>

namespace cdpfi {

CLMRAnswer::CLMRAnswer(obzx_pdk_4_4::CFiOutputText text) : m_text(std::move(text)), m_lines(m_text.countLines())
{
    m_text.takeLines(m_lines);
}

}  // namespace cdpfi
