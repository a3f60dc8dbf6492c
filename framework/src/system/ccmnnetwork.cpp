#include "framework/include/ccmnnetwork.h"

#include <netdb.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <memory>
#include <mutex>

#include "framework/include/cficonfiguration.h"
#include "framework/include/cfistringtool.h"

namespace obzx_cmn_4_4 {

namespace {

using obzx_pdk_4_4::CFiConfiguration;
using obzx_pdk_4_4::CFiStringTool;

using AddressList = std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)>;

AddressList lookUp(const std::string& name)
{
    AddressList none(nullptr, &::freeaddrinfo);
    if (name.empty() || name.size() >= NI_MAXHOST || name.find('\0') != std::string::npos) return none;
    addrinfo hints = {};
    hints.ai_flags = AI_CANONNAME;
    hints.ai_socktype = SOCK_STREAM;  // one entry for each address, not one for each type of socket
    addrinfo* found = nullptr;
    if (::getaddrinfo(name.c_str(), nullptr, &hints, &found) != 0) return none;
    return {found, &::freeaddrinfo};
}

std::string numericText(const addrinfo& entry)
{
    char text[NI_MAXHOST];
    if (::getnameinfo(entry.ai_addr, entry.ai_addrlen, text, sizeof text, nullptr, 0, NI_NUMERICHOST) != 0) return {};
    return text;
}

bool isLoopback(const std::string& address)
{
    return address.compare(0, 4, "127.") == 0 || address.compare(0, 11, "::ffff:127.") == 0 || address == "::1";
}

bool sameName(const std::string& a, const std::string& b)
{
    return !a.empty() && a.size() == b.size() && ::strcasecmp(a.c_str(), b.c_str()) == 0;
}

std::set<std::string> allNames(const SHostInfo& host)
{
    std::set<std::string> names = host.names;
    names.insert(host.name);
    return names;
}

bool shareName(const SHostInfo& a, const SHostInfo& b)
{
    for (const std::string& nameOfA : allNames(a)) {
        for (const std::string& nameOfB : allNames(b)) {
            if (sameName(nameOfA, nameOfB)) return true;
        }
    }
    return false;
}

bool shareAddress(const SHostInfo& a, const SHostInfo& b)
{
    for (const std::string& address : a.addresses) {
        if (!isLoopback(address) && b.addresses.count(address) != 0) return true;
    }
    return false;
}

std::string configuredName(const std::string& component)
{
    CFiConfiguration store(CFiStringTool::str2tstr(component));
    ACE_Configuration_Section_Key key;
    ACE_String_Base<char> name;
    if (store.openSection("FI_NETWORK", key, 1) != 0 || store.getStringValue("LOCAL_NAME", name) != 0) return {};
    return CFiStringTool::tstr2str(name);
}

std::string systemName()
{
    char name[HOST_NAME_MAX + 1] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? name : std::string();
}

SHostInfo askResolver(const std::string& name)
{
    SHostInfo host;
    host.name = name;
    host.names.insert(name);
    const AddressList list = lookUp(name);
    if (list != nullptr && list->ai_canonname != nullptr && *list->ai_canonname != '\0') host.name = list->ai_canonname;
    for (const addrinfo* entry = list.get(); entry != nullptr; entry = entry->ai_next) {
        const std::string address = numericText(*entry);
        if (!address.empty()) host.addresses.insert(address);
    }
    for (const std::string& address : host.addresses) {
        if (!host.addressText.empty()) host.addressText += ' ';
        host.addressText += address;
    }
    return host;
}

// Answers are kept for a minute, also that a name is not known: an import asks for the same few names for each device,
// and a resolver that does not answer takes seconds each time.
using CClock = std::chrono::steady_clock;
constexpr auto ANSWER_LIFE = std::chrono::seconds(60);
constexpr size_t MAX_ANSWERS = 1024;

struct SAnswer
{
    SHostInfo host;
    CClock::time_point time;
};

std::mutex g_answersMutex;
std::map<std::string, SAnswer> g_answers;

bool recall(const std::string& name, SHostInfo& host)
{
    const std::lock_guard<std::mutex> guard(g_answersMutex);
    const auto found = g_answers.find(name);
    if (found == g_answers.end() || CClock::now() - found->second.time > ANSWER_LIFE) return false;
    host = found->second.host;
    return true;
}

void remember(const std::string& name, const SHostInfo& host)
{
    const std::lock_guard<std::mutex> guard(g_answersMutex);
    if (g_answers.size() >= MAX_ANSWERS) g_answers.clear();
    g_answers[name] = {host, CClock::now()};
}

}  // namespace

CCmnNetwork::CCmnNetwork(std::string component) : m_component(std::move(component)) {}

std::string CCmnNetwork::getFQDN() const
{
    const std::string configured = configuredName(m_component);
    return configured.empty() ? resolve(systemName()).name : configured;
}

SHostInfo CCmnNetwork::resolve(const std::string& name) const
{
    SHostInfo host;
    if (recall(name, host)) return host;
    host = askResolver(name);
    remember(name, host);
    return host;
}

bool CCmnNetwork::compare(const SHostInfo& a, const SHostInfo& b)
{
    return shareName(a, b) || shareAddress(a, b);
}

}  // namespace obzx_cmn_4_4
