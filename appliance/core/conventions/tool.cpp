#include "appliance/core/conventions/tool.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

void (*g_end)(int status) = nullptr;

int statusOf(const char* program, const std::function<int()>& body)
{
    EStatus status = EStatus::UNEXPECTED;
    std::string text;
    try {
        return body();
    } catch (const EApplianceError& error) {
        status = error.status();
        text = error.what();
    } catch (const std::exception& error) {
        text = std::string("unexpected failure: ") + error.what();
    }
    std::fprintf(stderr, "%s: %s\n", program, text.c_str());
    return static_cast<int>(status);
}

}  // namespace

int runTool(const char* program, const std::function<int()>& body)
{
    // A file that may not grow any more is a storage failure like a full disk, and not the tool's end.
    std::signal(SIGXFSZ, SIG_IGN);
    const int status = statusOf(program, body);
    if (g_end != nullptr) g_end(status);
    return status;
}

void setToolEnd(void (*end)(int status))
{
    g_end = end;
}

void printBytes(std::string_view bytes)
{
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size() || std::fflush(stdout) != 0) {
        throwStorage("write", "standard output", errno);
    }
}

void printLines(const Lines& lines)
{
    std::string text;
    for (const std::string& line : lines) {
        text += line + '\n';
    }
    printBytes(text);
}

}  // namespace lumora
