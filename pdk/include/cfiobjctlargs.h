#pragma once

#include <ace/SString.h>

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
    ACE_String_Base<char> m_type;
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

    /// The text up to the next blank, after the blanks before it; empty at the end.
    std::string_view token()
    {
        skipBlanks();
        return upToBlank();
    }

    /// Takes name=VALUE; false when another name, no "=" or no value stands there.
    bool attribute(std::string_view name, ACE_String_Base<char>& value)
    {
        skipBlanks();
        if (!take(name) || !take("=")) return false;
        const std::string_view text = upToBlank();
        value.set(text.data(), text.size(), true);
        requireWhole(value, text.size());
        return !text.empty();
    }

  private:
    void skipBlanks()
    {
        const size_t start = m_rest.find_first_not_of(' ');
        m_rest.remove_prefix(start == std::string_view::npos ? m_rest.size() : start);
    }

    std::string_view upToBlank()
    {
        const std::string_view text = m_rest.substr(0, m_rest.find(' '));
        m_rest.remove_prefix(text.size());
        return text;
    }

    bool take(std::string_view expected)
    {
        if (m_rest.substr(0, expected.size()) != expected) return false;
        m_rest.remove_prefix(expected.size());
        return true;
    }

    std::string_view m_rest;
};

/**
 * Arguments of an object-control call: inputs from the request text, outputs for the reply text.
 *
 *   request = "<OBJCTL_ARG_LIST>" { element } "</OBJCTL_ARG_LIST>"
 *   element = "<OBJCTL_INPUT" "arg=" VALUE "value=" VALUE "type=" VALUE "/>"
 *   VALUE   = one or more characters other than a blank
 *
 * Pieces are separated by blanks; a run of blanks separates as one blank does, and no other character does. Upper and
 * lower case differ. For example
 *
 *   <OBJCTL_ARG_LIST> <OBJCTL_INPUT arg=mode value=fast type=string /> </OBJCTL_ARG_LIST>
 *
 * The first text that does not fit ends the reading without an error. What was read before it counts; an element counts
 * once its "/>" was read.
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
     * Values are written as they are, so that one with a blank cannot be read back.
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

    const CPairs& getInputs() const { return m_inputs; }
    const CPairs& getOutputs() const { return m_outputs; }
    void addOutput(const CFiKeyValuePair& pair) { append(m_outputs, pair); }

  private:
    void parse(CFiObjctlCursor cursor)
    {
        if (cursor.token() != "<OBJCTL_ARG_LIST>") return;
        while (cursor.token() == "<OBJCTL_INPUT") {
            CFiKeyValuePair pair;
            if (!cursor.attribute("arg", pair.m_arg) || !cursor.attribute("value", pair.m_value) ||
                !cursor.attribute("type", pair.m_type) || cursor.token() != "/>")
                return;
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
