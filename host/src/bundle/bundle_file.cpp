#include "host/src/bundle/bundle_file.h"

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include <ctime>
#include <exception>
#include <memory>

#include "host/src/output/error.h"
#include "host/src/output/new_file.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr const char* FOLDER = "support-bundle/";

/// Hands the archive's bytes to the file. What the file cannot take is kept until the library has returned.
class CTarGz
{
  public:
    explicit CTarGz(CNewFile& file) : m_file(file), m_archive(archive_write_new(), archive_write_free)
    {
        archive* const to = m_archive.get();
        need(to != nullptr && archive_write_add_filter_gzip(to) == ARCHIVE_OK &&
             archive_write_set_format_pax_restricted(to) == ARCHIVE_OK &&
             archive_write_open(to, this, nullptr, onBytes, nullptr) == ARCHIVE_OK);
    }

    void add(const std::string& name, const std::string& content)
    {
        const std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(), archive_entry_free);
        need(entry != nullptr);
        constexpr mode_t OWNER_ONLY = 0600;
        archive_entry_set_pathname(entry.get(), (FOLDER + name).c_str());
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        archive_entry_set_perm(entry.get(), OWNER_ONLY);
        archive_entry_set_size(entry.get(), static_cast<la_int64_t>(content.size()));
        archive_entry_set_mtime(entry.get(), std::time(nullptr), 0);
        need(archive_write_header(m_archive.get(), entry.get()) == ARCHIVE_OK &&
             archive_write_data(m_archive.get(), content.data(), content.size()) ==
                 static_cast<la_ssize_t>(content.size()));
    }

    void close() { need(archive_write_close(m_archive.get()) == ARCHIVE_OK); }

  private:
    static la_ssize_t onBytes(archive* /*to*/, void* user, const void* bytes, size_t size)
    {
        auto& self = *static_cast<CTarGz*>(user);
        if (self.m_failure) return -1;
        try {
            self.m_file.write({static_cast<const char*>(bytes), size});
            return static_cast<la_ssize_t>(size);
        } catch (...) {
            self.m_failure = std::current_exception();
            return -1;
        }
    }

    void need(bool isDone)
    {
        if (m_failure) std::rethrow_exception(m_failure);
        if (isDone) return;
        const char* const why = m_archive ? archive_error_string(m_archive.get()) : nullptr;
        throw EFictl(EExit::IO, std::string("cannot write the archive: ") + (why != nullptr ? why : "out of memory"));
    }

    CNewFile& m_file;
    std::exception_ptr m_failure;
    std::unique_ptr<archive, int (*)(archive*)> m_archive;
};

[[noreturn]] void refuseExisting(const std::string& file)
{
    throw EFictl(EExit::EXISTS, "file " + printable(file) + " exists already; nothing was written",
                 "give another file");
}

}  // namespace

void writeBundleFile(const std::string& file, const FileTexts& contents)
{
    CNewFile out(file, CNewFile::EBusy::REFUSE);
    CTarGz archive(out);
    for (const auto& [name, content] : contents) {
        archive.add(name, content);
    }
    archive.close();
    if (!out.keep(false)) refuseExisting(file);
}

void requireNoFile(const std::string& file)
{
    struct stat status = {};
    if (lstat(file.c_str(), &status) == 0) refuseExisting(file);
}

}  // namespace fictl
