// What a provider does about nodes, their states, and sessions.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "framework/include/obzx_runtime.h"
#include "host/src/provider_check/arguments.h"
#include "host/src/provider_check/checks.h"
#include "host/src/provider_check/every_call.h"

namespace fictl {

namespace {

/// The name under which the provider puts a node before the device; the device itself when it does not.
std::string interposedName(CSubject& subject, const std::string& device)
{
    CArguments arguments;
    obzx_objid* interposed = nullptr;
    obzx_objid** groups = nullptr;
    int32_t count = 0;
    const int64_t answer = subject.call(&SEntryPoints::interpose, arguments.node(device), &interposed, &groups, &count);
    CSubject::expect((answer == 1) == (interposed != nullptr), "an identity with 1, and none with 0",
                     std::to_string(answer));
    CSubject::expect((count > 0) == (groups != nullptr), "groups and their count, or null and 0",
                     std::to_string(count));
    if (answer == 0) return device;
    CSubject::expect(interposed->name != nullptr && interposed->type == OBZ_OBJID_TYPE_DEVICE,
                     "an identity with a name, of a device", "another one");
    std::string name = interposed->name;
    obzx_free_objid(interposed);
    obzx_free_objid_array(groups, count);
    return name;
}

void expectClaim(CSubject& subject, const std::string& name, int64_t expected)
{
    CArguments arguments;
    obzx_objid** secondaries = nullptr;
    int32_t count = 0;
    const int64_t claimed = subject.call(&SEntryPoints::claim, arguments.identity(name), &secondaries, &count);
    CSubject::expect(claimed == expected, std::to_string(expected), std::to_string(claimed));
    CSubject::expect(secondaries == nullptr && count == 0, "no secondaries", std::to_string(count));
}

void checkClaiming(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    const std::string name = interposedName(subject, surroundings.device);
    if (name != surroundings.device) expectClaim(subject, name, OBZ_CLAIM_SECONDARY);
    expectClaim(subject, "fictl-check-object", OBZ_CLAIM_NONE);
    CArguments arguments;
    for (const std::string method : {"any", "fictl-no-such-method"}) {
        obz_domain* const node = arguments.node(name);
        *node->access = method == "any" ? 0 : INT32_MAX;  // of a method that suits the node a provider adds to it
        const int64_t supported = subject.call(&SEntryPoints::supports_fitype, node, method.c_str());
        const int32_t all = OBZ_ACCESS_LOCAL | OBZ_ACCESS_REMOTE;
        const bool isAccess = *node->access > 0 && *node->access <= all;
        CSubject::expect(supported == 1 ? isAccess : *node->access == OBZ_ACCESS_NONE,
                         "an access value with 1, and none with 0", "the value " + std::to_string(*node->access));
        CSubject::expect(supported == 0 || method == "any", "0 for a method that nobody knows", "1");
    }
    subject.end();
}

void expectCombos(const obz_domain& node)
{
    for (const obz_combo* combo = node.combos; combo != nullptr; combo = combo->next) {
        for (const obz_combo_entry* const entry : {combo->quiesce, combo->split}) {
            CSubject::expect(entry != nullptr && entry->name != nullptr,
                             "combinations with two entries that have names", "one without");
        }
    }
}

void checkNodes(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    callEvery(subject);
    CArguments arguments;
    for (const std::string& name : {interposedName(subject, surroundings.device), std::string("fictl-check-node")}) {
        obz_domain* const node = arguments.node(name);
        node->name = nullptr;
        const int64_t status = subject.call(&SEntryPoints::init_node, node, nullptr, 0, nullptr);
        if (status == OBZ_OK) {
            const bool isNamed = node->name == nullptr || node->name == node->identity->name;
            CSubject::expect(isNamed, "the identity's name as the node's", "another one");
            expectCombos(*node);
        } else {
            CSubject::expect(node->private_data == nullptr, "no private data in a node that was not set up", "some");
        }
        subject.call(&SEntryPoints::deinit_node, node);
        CSubject::expect(node->private_data == nullptr && node->combos == nullptr,
                         "neither private data nor combinations", "some");
    }
    obz_domain nameless{};
    subject.call(&SEntryPoints::init_node, &nameless, nullptr, 0, nullptr);
    subject.call(&SEntryPoints::deinit_node, &nameless);
    subject.end();
}

/// Bytes behind which no memory is, and no NUL.
class CBytesAtAnEdge
{
  public:
    explicit CBytesAtAnEdge(const std::string& bytes) : m_page(static_cast<size_t>(sysconf(_SC_PAGESIZE)))
    {
        m_size = (bytes.size() / m_page + 1) * m_page;
        void* const memory = mmap(nullptr, m_size + m_page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) throw std::bad_alloc();
        m_memory = static_cast<char*>(memory);
        mprotect(m_memory + m_size, m_page, PROT_NONE);
        m_begin = m_memory + m_size - bytes.size();
        std::memcpy(m_begin, bytes.data(), bytes.size());
    }
    ~CBytesAtAnEdge() { munmap(m_memory, m_size + m_page); }
    CBytesAtAnEdge(const CBytesAtAnEdge&) = delete;
    CBytesAtAnEdge& operator=(const CBytesAtAnEdge&) = delete;

    char* begin() const { return m_begin; }

  private:
    size_t m_page;
    size_t m_size = 0;
    char* m_memory = nullptr;
    char* m_begin = nullptr;
};

/// The state of a node that was set up; empty when the provider keeps none.
std::string stateOf(CSubject& subject, obz_domain* node)
{
    obz_blob blob{};
    const int64_t status = subject.call(&SEntryPoints::process_providerstate, node, &blob, OBZ_STATE_GET);
    if (blob.data == nullptr) {
        CSubject::expect(blob.size == 0, "an empty blob without data", "a size of " + std::to_string(blob.size));
        return {};
    }
    CSubject::expectStatus(status, OBZ_OK);
    CSubject::expect(blob.encoding == OBZ_ENCODING_STRING, "encoding 1", std::to_string(blob.encoding));
    const size_t length = strnlen(static_cast<const char*>(blob.data), blob.size);
    CSubject::expect(length + 1 == blob.size, "a text with its NUL in the last of its bytes",
                     "a text of " + std::to_string(length) + " in " + std::to_string(blob.size));
    std::string text = static_cast<const char*>(blob.data);
    obzx_free_buf(blob.data, blob.size);
    return text;
}

int64_t setState(CSubject& subject, obz_domain* node, char* text, size_t size)
{
    obz_blob blob = {size, text, OBZ_ENCODING_STRING};
    return subject.call(&SEntryPoints::process_providerstate, node, &blob, OBZ_STATE_SET);
}

void expectState(CSubject& subject, obz_domain* node, const std::string& expected)
{
    const std::string state = stateOf(subject, node);
    CSubject::expect(state == expected, "\"" + expected + "\"", "\"" + state + "\"");
}

void checkState(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    callEvery(subject);
    CArguments arguments;
    const std::string name = interposedName(subject, surroundings.device);
    obz_domain* const node = arguments.node(name);
    subject.call(&SEntryPoints::init_node, node, nullptr, 0, nullptr);
    std::string state = stateOf(subject, node);
    expectState(subject, node, state);
    if (state.empty()) throw SNoOccasion{"the provider keeps no state of the node"};
    obz_domain* const second = arguments.node(name);
    CSubject::expectStatus(setState(subject, second, state.data(), state.size() + 1), OBZ_OK);
    expectState(subject, second, state);
    CSubject::expectStatus(setState(subject, second, nullptr, 0), OBZ_OK);
    expectState(subject, second, state);
    obz_domain* const third = arguments.node(name);
    for (size_t size = 0; size <= state.size(); ++size) {
        const CBytesAtAnEdge bytes(state.substr(0, size));
        setState(subject, third, bytes.begin(), size);
    }
    for (obz_domain* const each : {third, second, node}) {
        subject.call(&SEntryPoints::deinit_node, each);
    }
    subject.end();
}

std::vector<std::string> handedOut(CSubject& subject, const char* session)
{
    obz_snaphandle handle{};
    subject.call(&SEntryPoints::update_snapshot_handle, session, &handle);
    CSubject::expect(handle.count >= 0, "a count of entries", std::to_string(handle.count));
    std::vector<std::string> nodes;
    for (int32_t i = 0; i < handle.count; ++i) {
        const bool isWhole = handle.entries[i].node != nullptr && handle.entries[i].target != nullptr;
        CSubject::expect(isWhole, "entries with a node and a target", "null");
        nodes.emplace_back(handle.entries[i].node);
    }
    obzx_free_snaphandle(&handle);
    return nodes;
}

std::vector<std::string> make(CSubject& subject, const char* session)
{
    obzx_objid** identities = nullptr;
    int32_t count = 0;
    subject.call(&SEntryPoints::make, nullptr, session, nullptr, 0, &identities, &count);
    CSubject::expect((count > 0) == (identities != nullptr) && count >= 0, "identities and their count, or null and 0",
                     std::to_string(count));
    std::vector<std::string> nodes;
    nodes.reserve(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
        nodes.emplace_back(identities[i]->name);
    }
    obzx_free_objid_array(identities, count);
    return nodes;
}

void expectNodes(const std::vector<std::string>& nodes, const std::vector<std::string>& expected)
{
    const auto joined = [](const std::vector<std::string>& names) {
        std::string text;
        for (const std::string& name : names) {
            text += (text.empty() ? "" : ", ") + name;
        }
        return names.empty() ? "no node" : text;
    };
    CSubject::expect(nodes == expected, joined(expected), joined(nodes));
}

void checkSessions(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    callEvery(subject);
    const char* const session = "fictl-check-one";
    expectNodes(handedOut(subject, "fictl-check-unknown"), {});
    expectNodes(make(subject, "fictl-check-unknown"), {});
    CArguments arguments;
    obz_splitnode* first[] = {arguments.splitNode("fictl-check-b"), arguments.splitNode("fictl-check-a")};
    obz_splitnode* second[] = {first[1], first[1]};
    const int64_t added = subject.call(&SEntryPoints::preselect, nullptr, session, first, 2);
    CSubject::expectStatus(added, OBZ_OK);
    CSubject::expectStatus(subject.call(&SEntryPoints::preselect, nullptr, session, second, 2), OBZ_OK);
    expectNodes(handedOut(subject, session), {});
    subject.call(&SEntryPoints::prepare, nullptr, session, nullptr, 0, 0);
    const std::vector<std::string> made = make(subject, session);
    if (made.empty()) throw SNoOccasion{"the provider makes no copy of nodes that it does not know"};
    expectNodes(made, {"fictl-check-a", "fictl-check-b"});
    expectNodes(handedOut(subject, "fictl-check-other"), {});
    expectNodes(handedOut(subject, session), {"fictl-check-a", "fictl-check-b"});
    expectNodes(handedOut(subject, session), {});
    subject.end();
    subject.start();
    expectNodes(make(subject, session), {});
    subject.end();
}

// One line of pieces that one blank each separates, and a blank at the end.
bool isReply(const std::string& text)
{
    constexpr std::string_view HEAD = "<OBJCTL_ARG_LIST> ";
    constexpr std::string_view TAIL = "</OBJCTL_ARG_LIST> ";
    const bool isLine = text.find('\n') == std::string::npos;
    return isLine && text.starts_with(HEAD) && text.ends_with(TAIL) && text.size() >= HEAD.size() + TAIL.size();
}

void checkObjectControl(SCheckSurroundings& surroundings)
{
    CSubject subject(surroundings.library, surroundings.journal);
    subject.start();
    callEvery(subject);
    const char* const whole = "<OBJCTL_ARG_LIST> <OBJCTL_INPUT arg=mode value=fast type=string /> </OBJCTL_ARG_LIST>";
    for (const char* const request :
         {whole, "", "nonsense", "<OBJCTL_ARG_LIST>", "<OBJCTL_ARG_LIST>  </OBJCTL_ARG_LIST>",
          "<OBJCTL_ARG_LIST> <OBJCTL_INPUT arg= value= type= /> </OBJCTL_ARG_LIST>"}) {
        std::string own = request;
        char* reply = nullptr;
        int64_t status = INT64_MAX;
        const int64_t came = subject.call(&SEntryPoints::objctl, "object", own.data(), &reply, &status);
        CSubject::expectStatus(came, OBZ_OK);
        CSubject::expect(status != INT64_MAX, "an outcome in status", "none");
        CSubject::expect(reply != nullptr && isReply(reply), "a reply of one line of pieces",
                         reply == nullptr ? "null" : reply);
        CSubject::expect(own == request, "the request as it was", own);
        std::free(reply);
    }
    subject.end();
}

constexpr SProviderCheck CHECKS[] = {
    {"claiming", "Nodes of the provider's own are claimed, and no others", "Claiming", checkClaiming},
    {"nodes", "What init_node has put into a node is gone after deinit_node", "Ownership", checkNodes},
    {"state", "A node's state is a text that another node can be given", "Imports by another process", checkState},
    {"sessions", "A session has the nodes that it was given, and hands each out once", "Sessions", checkSessions},
    {"objctl", "Each request gets its outcome and a reply of the documented form", "Object control",
     checkObjectControl},
};

}  // namespace

std::span<const SProviderCheck> snapshotChecks()
{
    return CHECKS;
}

}  // namespace fictl
