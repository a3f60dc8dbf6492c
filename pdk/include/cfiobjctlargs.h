#pragma once

#include <ace/SString.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <new>
#include <string>
#include <string_view>

#include "pdk/include/cfipluginname.h"

namespace obzx_pdk_4_4 {

/// One argument of an object-control request or reply. The texts are raw: nothing is converted or checked.
struct FI_PRIVATE CFiKeyValuePair
{
    ACE_String_Base<char> m_arg;  ///< the argument's name
    ACE_String_Base<char> m_value;
    ACE_String_Base<char> m_type;  ///< in words that host and provider agree on, such as "string"
};

/// The text class leaves a text empty for which it finds no memory. @throw std::bad_alloc
inline void requireWhole(const ACE_String_Base<char>& text, size_t length)
{
    if (text.length() != length) throw std::bad_alloc();
}

/// Walks over a request from left to right; never past its end.
class FI_PRIVATE CFiObjctlCursor
{
  public:
    explicit CFiObjctlCursor(std::string_view text) : m_rest(text) {}

    /// The text up to the next blank, which goes with it; empty at the end and between two blanks.
    std::string_view token()
    {
        const std::string_view text = m_rest.substr(0, m_rest.find(' '));
        m_rest.remove_prefix(std::min(text.size() + 1, m_rest.size()));
        return text;
    }

    /// Takes name=VALUE; false when another name, no "=" or no value stands there.
    bool attribute(std::string_view name, ACE_String_Base<char>& value)
    {
        const std::string_view text = token();
        const size_t equals = text.find('=');
        if (equals == std::string_view::npos || text.substr(0, equals) != name) return false;
        const std::string_view given = text.substr(equals + 1);
        value.set(given.data(), given.size(), true);
        requireWhole(value, given.size());
        return !given.empty();
    }

  private:
    std::string_view m_rest;
};

/**
 * Arguments of an object-control call: inputs from the request text, outputs for the reply text.
 *
 *   request = "<OBJCTL_ARG_LIST>" { element } "</OBJCTL_ARG_LIST>"
 *   element = "<OBJCTL_INPUT" "arg=" VALUE "value=" VALUE "type=" VALUE "/>"
 *   VALUE   = one or more characters other than a blank
 *
 * Pieces are separated by one blank each and by no other character; a second blank stands where a piece should. Names
 * are exact, upper and lower case differ. For example
 *
 *   <OBJCTL_ARG_LIST> <OBJCTL_INPUT arg=mode value=fast type=string /> </OBJCTL_ARG_LIST>
 *
 * The first text that does not fit ends the reading without an error. What was read before it counts; an element counts
 * once its "/>" was read. One thread.
 */
class FI_PRIVATE CFiObjctlArgs
{
  public:
    using CPairs = std::deque<CFiKeyValuePair>;  // grows without copying the texts that it holds

    /// Appends the elements of a request, which may be null and is left as it is, to the inputs. Always 0; an input for
    /// which there is no memory ends the reading too.
    int32_t importArgs(char* text)
    {
        try {
            if (text != nullptr) parse(CFiObjctlCursor(text));
        } catch (const std::bad_alloc&) {
            return 0;
        }
        return 0;
    }

    /**
     * The reply: one line whose elements are called OBJCTL_OUTPUT and which ends with a blank, as hosts expect it.
     * Values are written as they are, so that one with a blank cannot be read back. @throw std::bad_alloc
     */
    ACE_String_Base<char> exportArgs() const
    {
        std::string text = "<OBJCTL_ARG_LIST>";
        for (const CFiKeyValuePair& pair : m_outputs) {
            append(text, " <OBJCTL_OUTPUT arg=", pair.m_arg);
            append(text, " value=", pair.m_value);
            append(text, " type=", pair.m_type);
            text += " />";
        }
        text += " </OBJCTL_ARG_LIST> ";
        ACE_String_Base<char> reply(text.data(), text.size());
        requireWhole(reply, text.size());
        return reply;
    }

    const CPairs& getInputs() const { return m_inputs; }    ///< in the order of the request
    const CPairs& getOutputs() const { return m_outputs; }  ///< in the order of adding
    /// @throw std::bad_alloc
    void addOutput(const CFiKeyValuePair& pair) { append(m_outputs, pair); }

  private:
    void parse(CFiObjctlCursor cursor)
    {
        if (cursor.token() != "<OBJCTL_ARG_LIST>") return;
        while (cursor.token() == "<OBJCTL_INPUT") {
            CFiKeyValuePair pair;
            if (!cursor.attribute("arg", pair.m_arg) || !cursor.attribute("value", pair.m_value) ||
                !cursor.attribute("type", pair.m_type) || cursor.token() != "/>") {
                return;
            }
            append(m_inputs, pair);
        }
    }

    static void append(CPairs& pairs, const CFiKeyValuePair& pair)
    {
        const CFiKeyValuePair& added = pairs.emplace_back(pair);
        requireWhole(added.m_arg, pair.m_arg.length());
        requireWhole(added.m_value, pair.m_value.length());
        requireWhole(added.m_type, pair.m_type.length());
    }

    static void append(std::string& text, const char* before, const ACE_String_Base<char>& value)
    {
        text.append(before).append(value.fast_rep(), value.length());
    }

    CPairs m_inputs;
    CPairs m_outputs;
};

}  // namespace obzx_pdk_4_4
