#include "framework/src/messages/message_bound.h"

#include <algorithm>

#include "framework/include/cficonfiguration.h"
#include "framework/src/text/bounded_text.h"

namespace obzx_pdk_4_4 {

void boundMessage(std::string& text, const std::string& component)
{
    // Nearly no text is as long, and only for one that is the store is read.
    if (text.size() <= LEAST_MESSAGE_BOUND) return;
    CFiConfiguration store(ACE_String_Base<char>(component.data(), component.size()));
    ACE_Configuration_Section_Key key;
    long configured = 0;
    if (store.openSection("FI_MESSAGE", key, 1) == 0) store.getIntegerValue("MAX_LENGTH", configured);
    boundText(text, std::max(static_cast<size_t>(configured), LEAST_MESSAGE_BOUND));
}

}  // namespace obzx_pdk_4_4
