#include <memory>

#include "framework/include/cfipluginbase.h"
#include "framework/include/cfistringtool.h"
#include "framework/include/obzx_runtime.h"
#include "framework/src/memory/text_copy.h"
#include "framework/src/messages/message_text.h"
#include "framework/src/plugin/default_operation.h"

namespace obzx_pdk_4_4 {
namespace {

struct SMsgInfoFree
{
    void operator()(obz_msg_info* info) const
    {
        for (int32_t i = 0; info->arguments != nullptr && i < info->argument_count; ++i) {
            obzx_free_buf(info->arguments[i], 0);
        }
        obzx_free_buf(info->arguments, 0);
        obzx_free_buf(info->catalog, 0);
        obzx_free_buf(info->id, 0);
        obzx_free_buf(info->file, 0);
        obzx_free_buf(info, sizeof(obz_msg_info));
    }
};
using CMsgInfoOwner = std::unique_ptr<obz_msg_info, SMsgInfoFree>;

bool copyArguments(obz_msg_info& info, const std::vector<std::string>& arguments)
{
    if (arguments.empty()) return true;
    info.arguments = static_cast<char**>(obzx_alloc_buf(arguments.size() * sizeof(char*)));
    if (info.arguments == nullptr) return false;
    for (const std::string& argument : arguments) {
        char* copy = copyText(argument);
        if (copy == nullptr) return false;
        info.arguments[info.argument_count++] = copy;
    }
    return true;
}

// Null when there is no memory.
CMsgInfoOwner describe(const CFiMessage& message)
{
    CMsgInfoOwner info(static_cast<obz_msg_info*>(obzx_alloc_buf(sizeof(obz_msg_info))));
    if (!info) return nullptr;
    info->catalog = copyText(message.getCatalog());
    info->id = copyText(message.getMessageId());
    info->file = copyText(message.getFileName());
    info->line = message.getLineNumber();
    info->severity = message.getSeverity();
    if (anyNull(info->catalog, info->id, info->file) || !copyArguments(*info, message.getArguments())) return nullptr;
    return info;
}

std::string textOf(const char* text)
{
    return text == nullptr ? std::string() : std::string(text);
}

// How a message reads whose catalog is not known.
std::string plainText(const obz_msg_info& info)
{
    std::vector<std::string> arguments;
    for (int32_t i = 0; info.arguments != nullptr && i < info.argument_count; ++i) {
        arguments.push_back(textOf(info.arguments[i]));
    }
    return appendArguments(textOf(info.id), arguments);
}

}  // namespace

int32_t CFiPluginBase::errMsg(int32_t code, char** text)
{
    clear(text);
    if (text == nullptr) return OBZ_ERR_INVALID_ARG;
    if (!m_catalogManager) return OBZ_OK;
    return runOperation(*this, "errMsg", [&]() -> int32_t {
        std::string component = CFiStringTool::tstr2str(m_providerName);
        std::string id = CFiError(code, "").getMessageId(component, m_messageIndexOffset);
        const std::string locale = m_catalogManager->getNativeLanguage();
        std::string pattern;
        if (!m_catalogManager->findPattern(component, id, locale, pattern)) return OBZ_OK;
        obz_msg_info info = {};
        info.catalog = component.data();
        info.id = id.data();
        const CFiMessagePtr message = m_catalogManager->allocateMessage(&info);
        if (!message) return OBZ_OK;
        *text = copyText(message->format(pattern, locale));
        return *text == nullptr ? OBZ_ERR_FAILED : OBZ_OK;
    });
}

int32_t CFiPluginBase::getLastError(obz_msg_info** message)
{
    clear(message);
    if (message == nullptr) return OBZ_ERR_INVALID_ARG;
    if (!m_errorManager) return OBZ_OK;
    return runOperation(*this, "getLastError", [&]() -> int32_t {
        const CFiMessagePtr newest = m_errorManager->top();
        if (!newest) return OBZ_OK;
        *message = describe(*newest).release();
        return *message == nullptr ? OBZ_ERR_FAILED : OBZ_OK;
    });
}

int32_t CFiPluginBase::delLastError(obz_msg_info* message)
{
    if (message == nullptr) return OBZ_ERR_INVALID_ARG;
    const CMsgInfoOwner owner(message);
    if (!m_errorManager) return OBZ_OK;
    return runOperation(*this, "delLastError", [&]() -> int32_t {
        // Another caller may have taken the message off the stack meanwhile; the record is freed all the same.
        m_errorManager->remove(textOf(message->id), textOf(message->file), message->line);
        return OBZ_OK;
    });
}

int32_t CFiPluginBase::getLocaleMessage(const obz_msg_info* message, const char* locale, char** text)
{
    clear(text);
    if (anyNull(message, text)) return OBZ_ERR_INVALID_ARG;
    return runOperation(*this, "getLocaleMessage", [&]() -> int32_t {
        CFiMessagePtr known;
        if (m_catalogManager) known = m_catalogManager->allocateMessage(message);
        *text = copyText(known ? m_catalogManager->getLocalizedMessage(*known, textOf(locale)) : plainText(*message));
        return *text == nullptr ? OBZ_ERR_FAILED : OBZ_OK;
    });
}

int32_t CFiPluginBase::delLocaleMessage(char* text)
{
    if (text == nullptr) return OBZ_ERR_INVALID_ARG;
    obzx_free_buf(text, 0);
    return OBZ_OK;
}

}  // namespace obzx_pdk_4_4
