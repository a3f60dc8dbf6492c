#pragma once

#include <sys/stat.h>

#include "appliance/core/engines/daemon/host_kernel.h"
#include "appliance/tests/test_support.h"
#include "base/tests/environment_value.h"

namespace lumora::test {

/// A folder in place of the kernel's /sys and /dev, and programs in front of the search path that write down their
/// words and change it as the kernel would.
class CRecordedKernel
{
  public:
    CRecordedKernel() : m_path("PATH", (m_folder / "bin").string() + ":" + std::string(::getenv("PATH")))  // NOLINT
    {
        std::filesystem::create_directories(kernel().dev);
    }

    SHostKernel kernel() const { return {m_folder / "sys", m_folder / "dev"}; }
    const std::filesystem::path& folder() const { return m_folder.path(); }

    /// A program that writes its words down and goes on with `body`, where $sys and $dev name the folders.
    void putProgram(const std::string& name, const std::string& body) const
    {
        const std::filesystem::path file = m_folder / "bin" / name;
        writeFile(file, "#!/bin/sh\necho " + name + " \"$@\" >>" + (m_folder / "words").string() +
                            "\nsys=" + kernel().sys.string() + "\ndev=" + kernel().dev.string() + "\n" + body);
        ::chmod(file.c_str(), 0755);
    }
    /// nbd-client, whose devices have this size. Those that the file `taken` of the folder names, one a line, somebody
    /// else gets first.
    void putNbdClient(uint64_t size) const
    {
        putProgram("nbd-client", "sectors=" + std::to_string(size / SECTOR) + R"(
for device; do :; done
name=${device##*/}
if [ "$1" = -d ]; then
  rm "$sys/block/$name/pid"
  echo 0 >"$sys/block/$name/size"
  exit
fi
if grep -qx "$name" "$dev/../taken" 2>/dev/null; then
  echo 1 >"$sys/block/$name/pid"
  echo "$device is busy"
  exit 1
fi
echo $sectors >"$sys/block/$name/size"
echo $$ >"$sys/block/$name/pid"
)");
    }
    /// rbd, which maps images to the first free number, as devices of this size.
    void putRbd(uint64_t size) const
    {
        putProgram("rbd", "sectors=" + std::to_string(size / SECTOR) + R"(
for last; do :; done
if [ "$6" = unmap ]; then
  rm -r "$sys/block/${last##*/}" "$sys/bus/rbd/devices/${last##*/rbd}"
  exit
fi
number=0
while [ -e "$sys/bus/rbd/devices/$number" ]; do number=$((number + 1)); done
mkdir -p "$sys/bus/rbd/devices/$number" "$sys/block/rbd$number"
cd "$sys/bus/rbd/devices/$number"
echo "${last%%/*}" >pool
space=${last#*/}
echo "${space%/*}" >pool_ns
echo - >current_snap
echo 0 >"$sys/block/rbd$number/ro"
echo $sectors >"$sys/block/rbd$number/size"
echo "${last##*/}" >name
)");
    }
    /// The command lines so far.
    Lines words() const { return linesOf(contentOf(m_folder / "words")); }

  private:
    static constexpr uint64_t SECTOR = 512;

    const CTemporaryFolder m_folder;
    const base_test::CEnvironmentValue m_path;
};

}  // namespace lumora::test
