#include "tests/failing_calls/dead_resolver.h"

#include <netdb.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace dead_resolver {

namespace {

constexpr std::chrono::milliseconds HELD_UP{100};

std::mutex g_mutex;
std::map<std::string, int> g_asked;  // by name
int g_questions = 0;

void note(const char* name)
{
    const std::lock_guard<std::mutex> guard(g_mutex);
    ++g_asked[name == nullptr ? "" : name];
    ++g_questions;
}

}  // namespace

int questions()
{
    const std::lock_guard<std::mutex> guard(g_mutex);
    return g_questions;
}

int takeMostOfOneName()
{
    const std::lock_guard<std::mutex> guard(g_mutex);
    int most = 0;
    for (const auto& [name, times] : g_asked) {
        most = std::max(most, times);
    }
    g_asked.clear();
    return most;
}

}  // namespace dead_resolver

#pragma GCC visibility push(default)
extern "C" int getaddrinfo(const char* name, const char*, const addrinfo*, addrinfo**)
{
    dead_resolver::note(name);
    std::this_thread::sleep_for(dead_resolver::HELD_UP);
    return EAI_AGAIN;
}
#pragma GCC visibility pop
