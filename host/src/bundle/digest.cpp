#include "host/src/bundle/digest.h"

#include <archive.h>
#include <archive_entry.h>

#include <array>
#include <memory>

namespace fictl {

// The archive library keeps its digests to itself, but for this: it writes them into lists of files.
std::string sha256Of(std::string_view bytes)
{
    constexpr std::string_view MARK = "sha256digest=";
    const std::unique_ptr<archive, int (*)(archive*)> list(archive_write_new(), archive_write_free);
    const std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(), archive_entry_free);
    if (!list || !entry) return {};
    std::array<char, 4096> text{};
    size_t size = 0;
    archive_entry_set_pathname(entry.get(), "bytes");
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(bytes.size()));
    const bool isWritten = archive_write_set_format_mtree(list.get()) == ARCHIVE_OK &&
                           archive_write_set_options(list.get(), "mtree:!all,mtree:sha256") == ARCHIVE_OK &&
                           archive_write_open_memory(list.get(), text.data(), text.size(), &size) == ARCHIVE_OK &&
                           archive_write_header(list.get(), entry.get()) == ARCHIVE_OK &&
                           archive_write_data(list.get(), bytes.data(), bytes.size()) >= 0 &&
                           archive_write_close(list.get()) == ARCHIVE_OK;
    const std::string_view written(text.data(), size);
    const size_t at = written.find(MARK);
    if (!isWritten || at == std::string_view::npos) return {};
    const std::string_view digits = written.substr(at + MARK.size());
    return std::string(digits.substr(0, digits.find_first_of(" \n")));
}

}  // namespace fictl
