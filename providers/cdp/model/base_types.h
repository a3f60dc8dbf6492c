#pragma once

#include <ace/SString.h>

#include <new>
#include <string_view>

namespace cdpfi {

/**
 * Names, device paths, serials and command lines of the model.
 *
 * The class reports no lack of memory: a text that finds none for its new value is empty afterwards, or as it was. A
 * name that was lost in this way must neither reach an appliance nor become a key of a map, so texts are copied by the
 * functions below, which throw.
 */
using CString = ACE_String_Base<char>;

/// The bytes of a text; valid as long as the text is.
inline std::string_view bytesOf(const CString& text)
{
    return {text.fast_rep(), text.length()};
}

/// A text of all the bytes. @throw std::bad_alloc
inline CString textOf(std::string_view bytes)
{
    CString text(bytes.data(), bytes.size());
    if (text.length() != bytes.size()) throw std::bad_alloc();
    return text;
}

/// A whole copy. @throw std::bad_alloc
inline CString copyOf(const CString& text)
{
    return textOf(bytesOf(text));
}

/// Gives a field its value. @throw std::bad_alloc, and the field is as it was
inline void assign(CString& field, std::string_view value)
{
    field.set(value.data(), value.size(), true);
    if (bytesOf(field) != value) throw std::bad_alloc();
}
inline void assign(CString& field, const CString& value)
{
    assign(field, bytesOf(value));
}
/// The same from a text that is not needed any more: nothing is copied, and nothing fails.
inline void assign(CString& field, CString&& value) noexcept
{
    field.swap(value);
}

/// One LUN that a consistency group protects. Copies are whole. @throw std::bad_alloc
struct SCDPDeviceInfo
{
    SCDPDeviceInfo(std::string_view device, std::string_view serial)
        : m_device(textOf(device)), m_serial(textOf(serial))
    {
    }
    /// Texts that are not copied: they must outlive the object, and each has a NUL behind it. Copies of the object have
    /// texts of their own. For lists of many LUNs.
    struct SInPlace
    {
        std::string_view device;
        std::string_view serial;
    };
    explicit SCDPDeviceInfo(const SInPlace& texts)
        : m_device(texts.device.data(), texts.device.size(), nullptr, false),
          m_serial(texts.serial.data(), texts.serial.size(), nullptr, false)
    {
    }
    SCDPDeviceInfo(const SCDPDeviceInfo& other) : SCDPDeviceInfo(bytesOf(other.m_device), bytesOf(other.m_serial)) {}
    SCDPDeviceInfo& operator=(const SCDPDeviceInfo&) = delete;

    CString m_device;  ///< as the appliance names it
    CString m_serial;  ///< of the LUN
};

}  // namespace cdpfi
