#pragma once

#include <string>
#include <string_view>

#include "base/file_descriptor.h"

struct stat;

namespace fictl {

/**
 * A file that appears whole and on disk, or not at all. It grows under the name FILE.part and is removed unless it was
 * kept. Who holds the lock on that owns it, so that one that a killed process left is taken over. All calls throw
 * EFictl (IO).
 */
class CNewFile
{
  public:
    /// What becomes of one who comes while another process makes the file.
    enum class EBusy
    {
        REFUSE,
        WAIT,
    };

    /// Who may read the file, from its first byte on.
    enum class EReaders
    {
        OWNER,
        ALL,
    };

    CNewFile(const std::string& file, EBusy busy, EReaders readers = EReaders::OWNER);
    ~CNewFile();
    CNewFile(const CNewFile&) = delete;
    CNewFile& operator=(const CNewFile&) = delete;

    void write(std::string_view bytes);
    /// Gives it its name. What has that name already is replaced only when that is wanted; otherwise the answer is
    /// false, and nothing has changed.
    bool keep(bool mayReplace);

  private:
    bool take(EBusy busy);
    bool open();
    bool lock(EBusy busy) const;
    void requireOwn(const struct stat& status) const;
    int rename(unsigned flags) const;

    std::string m_file;
    std::string m_part;
    EReaders m_readers;
    base::CFileDescriptor m_output;  // holds the lock
    bool m_isOwn = false;            // what lies at FILE.part is ours to remove
};

/// Throws EFictl (IO) where a device, a folder or a link has the name of a file that is to be replaced.
void requireReplaceable(const std::string& file);

}  // namespace fictl
