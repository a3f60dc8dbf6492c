// Messages: the error stack, their texts, and calls from the callback.
#include <algorithm>
#include <optional>

#include "host/src/provider_check/checks.h"
#include "host/src/provider_check/every_call.h"
#include "host/src/provider_check/message_log.h"

namespace fictl {

namespace {

constexpr int KEPT_MESSAGES = 256;

std::string textOf(CSubject& subject, const obz_msg_info* message, const char* locale)
{
    char* text = nullptr;
    const int64_t status = subject.call(&SEntryPoints::get_locale_message, message, locale, &text);
    CSubject::expect(status == OBZ_OK && text != nullptr, "the message's text", "none");
    std::string copy = text;
    CSubject::expectStatus(subject.call(&SEntryPoints::del_locale_message, text), OBZ_OK);
    return copy;
}

void expectTexts(CSubject& subject, const obz_msg_info& message)
{
    CSubject::expect(message.catalog != nullptr && message.id != nullptr, "a catalog and a key", "null");
    CSubject::expect(message.severity >= OBZ_SEV_INFO && message.severity <= OBZ_SEV_ERROR, "a severity",
                     std::to_string(message.severity));
    CSubject::expect((message.argument_count > 0) == (message.arguments != nullptr),
                     "arguments and their count, or null and 0", std::to_string(message.argument_count));
    const std::string text = textOf(subject, &message, nullptr);
    CSubject::expect(!text.empty(), "a text", "an empty one");
    const std::string same = textOf(subject, &message, "");
    CSubject::expect(same == text, "\"" + text + "\"", "\"" + same + "\"");
    for (const char* const locale : {"de_DE.UTF-8", "xx-YY", "no locale at all", "root"}) {
        textOf(subject, &message, locale);
    }
}

// The newest message, which stays; its record is the caller's. None when the stack is empty.
obz_msg_info* newest(CSubject& subject)
{
    obz_msg_info* message = nullptr;
    CSubject::expectStatus(subject.call(&SEntryPoints::get_last_error, &message), OBZ_OK);
    return message;
}

void checkMessages(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    for (const int32_t code : {0, 1, 6000, 6012, -1, INT32_MAX, INT32_MIN}) {
        char* text = nullptr;
        CSubject::expectStatus(subject.call(&SEntryPoints::errmsg, code, &text), OBZ_OK);
        if (text != nullptr) CSubject::expectStatus(subject.call(&SEntryPoints::del_locale_message, text), OBZ_OK);
    }
    obz_msg_info* message = newest(subject);
    if (message == nullptr) throw SNoOccasion{"the provider has put no message on its stack"};
    expectTexts(subject, *message);
    obz_msg_info* const same = newest(subject);
    CSubject::expect(same != nullptr && same != message, "a record of its own each time", "none, or the same one");
    const std::string text = textOf(subject, message, nullptr);
    const std::string other = textOf(subject, same, nullptr);
    CSubject::expect(text == other, "\"" + text + "\"", "\"" + other + "\"");
    subject.call(&SEntryPoints::del_last_error, same);
    int count = 0;
    subject.call(&SEntryPoints::del_last_error, message);  // which another caller took off already
    while ((message = newest(subject)) != nullptr) {
        CSubject::expect(++count <= KEPT_MESSAGES, "at most 256 messages", "one more");
        expectTexts(subject, *message);
        CSubject::expectStatus(subject.call(&SEntryPoints::del_last_error, message), OBZ_OK);
    }
    subject.end();
}

// What a host may do when it is told a message.
void callBack(CSubject& subject)
{
    for (const char* const name : {"get_last_error", "get_provider_info", "enumerate_fims", "errmsg", "claim",
                                   "enumerate_nodes", "supports_fitype"}) {
        const SFunction& function = functionCalled(name);
        CArguments arguments;
        const CWords words = arguments.of(function);
        subject.call(function, words);
        giveBack(subject, function, words);
    }
}

void checkCallback(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    CMessageLog messages;
    std::optional<SViolation> violation;
    bool isInside = false;
    messages.onEach([&] {
        if (isInside) return;
        isInside = true;
        try {
            callBack(subject);
            if (messages.count() == 1) subject.start(messages.context());
        } catch (const SViolation& found) {
            violation = found;
        }
        isInside = false;
    });
    subject.start(messages.context());
    callEvery(subject);
    messages.onEach({});
    if (violation) throw SViolation(*violation);
    if (messages.count() == 0) throw SNoOccasion{"the provider has told no message"};
    subject.end();
}

constexpr SProviderCheck CHECKS[] = {
    {"messages", "The newest message can be read in any locale, and taken off the stack", "Messages", checkMessages},
    {"callback", "The message callback may call the provider, init once too", "Conventions 11", checkCallback},
};

}  // namespace

std::span<const SProviderCheck> messageChecks()
{
    return CHECKS;
}

}  // namespace fictl
