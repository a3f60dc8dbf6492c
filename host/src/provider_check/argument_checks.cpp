// What the functions make of arguments: nulls, counts, gaps in lists, odd numbers and texts; and of their outputs.
#include <climits>
#include <cstring>

#include "host/src/provider_check/checks.h"
#include "host/src/provider_check/every_call.h"
#include "host/src/provider_check/function_facts.h"

namespace fictl {

namespace {

constexpr int32_t EMPTY_COUNTS[] = {0, -1, INT32_MIN};
constexpr int32_t FULL_COUNTS[] = {1, INT32_MAX};

// Calls with an argument that is null, and frees what came out all the same.
int64_t callWithNull(CSubject& subject, const SFunction& function, size_t place)
{
    CArguments arguments;
    CWords words = arguments.of(function);
    words[place] = 0;
    const int64_t status = callThroughGate(subject, function, words);
    const std::string& argument = function.arguments[place].name;
    const bool isRefused = function.arguments[place].null != ENull::IS_ACCEPTED;
    if (isRefused && function.hasResult) {
        CSubject::expect(isNullStatus(function.name, argument, status), "the status for a null " + argument,
                         "status " + std::to_string(status));
    }
    if (isSuccess(function, status)) giveBack(subject, function, words);
    return status;
}

void checkNulls(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    for (const SFunction& function : functions()) {
        for (size_t place = 0; place < function.arguments.size(); ++place) {
            if (function.name != "init" && function.arguments[place].isPointer()) {
                callWithNull(subject, function, place);
            }
        }
    }
    subject.end();
}

void checkAllNulls(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    for (const SFunction& function : functions()) {
        if (function.name == "fini") continue;
        for (const uint64_t number : {uint64_t{0}, uint64_t{1}}) {
            CWords words;
            for (const SArgument& argument : function.arguments) {
                words.push_back(argument.isPointer() ? 0 : number);
            }
            callThroughGate(subject, function, words);
        }
    }
    subject.end();
}

bool isUntouched(const SArgument& argument, uint64_t word)
{
    const auto* const bytes = fromWord<const unsigned char*>(word);
    const size_t size = argument.outputSize();
    if (bytes == nullptr || size == 0) return false;
    CArguments fresh;
    const SFunction one = {0, "", false, true, {argument}, nullptr};
    return std::memcmp(bytes, fromWord<const void*>(fresh.of(one)[0]), size) == 0;
}

// A provider that accepts restore need not store anything.
void expectOutputs(const SFunction& function, const CWords& words, int64_t status)
{
    if (!isSuccess(function, status)) {
        const std::string left = CArguments::leftOutputs(function, words);
        CSubject::expect(left.empty(), "null or 0 in each output of a call that fails", left + " is neither");
        return;
    }
    for (size_t i = 0; i < words.size() && function.name != "restore"; ++i) {
        CSubject::expect(!isUntouched(function.arguments[i], words[i]), "something in each output",
                         function.arguments[i].name + " as it was before");
    }
}

// supports_fitype stores its answer in the node.
void expectNoAccess(CSubject& subject)
{
    CArguments arguments;
    obz_domain* const node = arguments.node("fictl-check-node");
    *node->access = INT32_MAX;
    const int64_t supported = subject.call(&SEntryPoints::supports_fitype, node, "fictl-no-such-method");
    CSubject::expect(supported == 0 && *node->access == OBZ_ACCESS_NONE, "0, and the access value 0",
                     std::to_string(supported) + ", and the access value " + std::to_string(*node->access));
}

void checkOutputs(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    callEvery(subject);  // a start-up that fails leaves outputs as they are
    SEveryCall how;
    how.after = expectOutputs;
    callEvery(subject, how);
    for (const SFunction& function : functions()) {
        for (size_t place = 0; place < function.arguments.size() && function.name != "init"; ++place) {
            if (function.arguments[place].null != ENull::IS_REFUSED) continue;
            CArguments arguments;
            CWords words = arguments.of(function);
            words[place] = 0;
            const int64_t status = subject.call(function, words);
            if (function.hasResult) expectOutputs(function, words, status);
        }
    }
    expectNoAccess(subject);
    subject.end();
}

void checkStatuses(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    callEvery(subject);  // each call's status is looked at
    callEvery(subject);
    subject.end();
}

void callWithCount(CSubject& subject, const SFunction& function, size_t list, int32_t count)
{
    CArguments arguments;
    CWords words = arguments.of(function);
    words[list] = 0;
    words[list + 1] = toWord(count);
    const int64_t status = callThroughGate(subject, function, words);
    if (!function.hasResult) return;
    const bool isRefused = status == OBZ_ERR_INVALID_ARG;
    CSubject::expect(isRefused == (count > 0), count > 0 ? "status 3" : "any status but 3",
                     "status " + std::to_string(status));
    if (isSuccess(function, status)) giveBack(subject, function, words);
}

void checkCounts(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    for (const SFunction& function : functions()) {
        for (size_t list = 0; list < function.arguments.size(); ++list) {
            if (function.arguments[list].null != ENull::IS_REFUSED_WITH_A_COUNT) continue;
            for (const int32_t count : EMPTY_COUNTS) {
                callWithCount(subject, function, list, count);
            }
            for (const int32_t count : FULL_COUNTS) {
                callWithCount(subject, function, list, count);
            }
        }
    }
    char* names[] = {nullptr};
    for (const int32_t count : {1, -1, INT32_MAX, INT32_MIN}) {
        char** translated = names;
        const int64_t status = subject.call(&SEntryPoints::translate_resource_names, names, count, &translated);
        CSubject::expectStatus(status, OBZ_ERR_INVALID_ARG);
    }
    subject.end();
}

// One of the four calls that refuse a list with a gap, of a session of its own.
void callWithGap(CSubject& subject, const std::string& name, const char* session, obz_splitnode** nodes, int32_t count)
{
    int64_t status = 0;
    if (name == "preselect") status = subject.call(&SEntryPoints::preselect, nullptr, session, nodes, count);
    if (name == "select") status = subject.call(&SEntryPoints::select, nullptr, session, nodes, count);
    if (name == "prepare") status = subject.call(&SEntryPoints::prepare, nullptr, session, nodes, count, 0);
    if (name == "make") {
        auto** identities = reinterpret_cast<obzx_objid**>(nodes);
        int32_t made = INT32_MAX;
        status = subject.call(&SEntryPoints::make, nullptr, session, nodes, count, &identities, &made);
        CSubject::expect(identities == nullptr && made == 0, "null and 0 in the outputs", "something else");
    }
    CSubject::expectStatus(status, OBZ_ERR_INVALID_ARG);
}

// How many nodes of the session a provider finds that makes copies of whatever is selected.
int32_t countMade(CSubject& subject, const char* session)
{
    obzx_objid** identities = nullptr;
    int32_t count = 0;
    subject.call(&SEntryPoints::prepare, nullptr, session, nullptr, 0, 0);
    subject.call(&SEntryPoints::make, nullptr, session, nullptr, 0, &identities, &count);
    const SFunction& make = functionCalled("make");
    giveBack(subject, make, {0, 0, 0, 0, toWord(&identities), toWord(&count)});
    return count;
}

void checkGaps(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    callEvery(subject);
    CArguments arguments;
    obz_domain nameless{};
    obz_splitnode withoutName = {nullptr, &nameless};
    obz_splitnode withoutNode = {nullptr, nullptr};
    obz_splitnode* const whole = arguments.splitNode("fictl-check-node");
    for (const char* const name : {"preselect", "select", "prepare", "make"}) {
        for (obz_splitnode* const gap : {static_cast<obz_splitnode*>(nullptr), &withoutName, &withoutNode}) {
            obz_splitnode* lists[][2] = {{gap, gap}, {whole, gap}, {gap, whole}};
            const std::string session = std::string("fictl-check-gap-") + name;
            for (obz_splitnode** const list : lists) {
                callWithGap(subject, name, session.c_str(), list, 2);
            }
            callWithGap(subject, name, session.c_str(), lists[0], INT32_MAX);
            CSubject::expect(countMade(subject, session.c_str()) == 0, "no node in the session", "one");
        }
    }
    for (obz_splitnode* const gap : {&withoutName, &withoutNode}) {
        const char* const session = "fictl-check-gap";
        const int64_t preselected = subject.call(&SEntryPoints::preselect, gap, session, nullptr, 0);
        CSubject::expectStatus(preselected, OBZ_ERR_INVALID_ARG);
        CSubject::expectStatus(subject.call(&SEntryPoints::select, gap, session, nullptr, 0), OBZ_ERR_INVALID_ARG);
    }
    subject.end();
}

bool isPlainNumber(const SFunction& function, size_t place)
{
    const SArgument& argument = function.arguments[place];
    const bool isCount = place > 0 && function.arguments[place - 1].null == ENull::IS_REFUSED_WITH_A_COUNT;
    return !argument.isPointer() && !argument.mustBeZero && !isCount;
}

void callWithNumber(CSubject& subject, const SFunction& function, size_t place, int64_t number)
{
    CArguments arguments;
    CWords words = arguments.of(function);
    words[place] = toWord(number);
    if (function.name == "restore") words[0] = words[1] = 0;  // its lists are as long as the count says
    const int64_t status = subject.call(function, words);
    if (function.arguments[place].name == "operation") CSubject::expectStatus(status, OBZ_ERR_INVALID_ARG);
    if (isSuccess(function, status)) giveBack(subject, function, words);
}

void checkNumbers(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    callEvery(subject);
    for (const int64_t number : {int64_t{-1}, int64_t{2}, int64_t{INT32_MAX}, int64_t{INT32_MIN}}) {
        for (const SFunction& function : functions()) {
            for (size_t place = 0; place < function.arguments.size(); ++place) {
                if (isPlainNumber(function, place)) callWithNumber(subject, function, place, number);
            }
        }
    }
    subject.end();
}

void checkExceptions(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    const std::string texts[] = {
        "", "/", "<", "%s%n%d", "\xff\xfe\x01\x7f", "a\nb\t\"'`$(c)", std::string(100000, 'x')};
    for (const std::string& text : texts) {
        SEveryCall how;
        how.text = text;
        callEvery(subject, how);
    }
    subject.end();
}

constexpr SProviderCheck CHECKS[] = {
    {"nulls", "A null where an object is needed gives the documented status", "Conventions 3", checkNulls},
    {"all-nulls", "Nothing but nulls is no crash", "Conventions 3", checkAllNulls},
    {"outputs", "Outputs of a call that fails are null or 0, and something in all others", "Conventions 4",
     checkOutputs},
    {"statuses", "Functions return their documented statuses and no others", "Conventions 1", checkStatuses},
    {"counts", "A list may be null when its count is 0 or less, and must not be otherwise", "Conventions 3",
     checkCounts},
    {"gaps", "A list of nodes with a gap is refused whole", "Conventions 5", checkGaps},
    {"numbers", "Numbers that mean nothing are refused or ignored", "Conventions 12", checkNumbers},
    {"exceptions", "No call throws, whatever its texts hold", "Conventions 7", checkExceptions},
};

}  // namespace

std::span<const SProviderCheck> argumentChecks()
{
    return CHECKS;
}

}  // namespace fictl
