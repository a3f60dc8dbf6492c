#include "host/src/output/new_document.h"

#include <sys/stat.h>

#include "host/src/output/error.h"
#include "host/src/output/new_file.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

[[noreturn]] void refuseExisting(const std::string& file)
{
    throw EFictl(EExit::EXISTS, "file " + printable(file) + " exists already; nothing was written",
                 "give another file, or --force to replace this one");
}

}  // namespace

void requireRoom(const std::string& file, bool mayReplace)
{
    struct stat status = {};
    if (lstat(file.c_str(), &status) != 0) return;
    if (!mayReplace) refuseExisting(file);
    if (S_ISREG(status.st_mode)) return;
    throw EFictl(EExit::IO, printable(file) + " is not a regular file, so --force does not replace it",
                 "give another file");
}

void writeNewDocument(const std::string& file, std::string_view text, bool mayReplace)
{
    CNewFile out(file, CNewFile::EBusy::REFUSE);
    out.write(text);
    if (!out.keep(mayReplace)) refuseExisting(file);
}

}  // namespace fictl
