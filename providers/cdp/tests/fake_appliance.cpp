// Answers as the appliance's shell (lmsh) and as the disk utility (kforutil), from the plain files in the folder
// "state" beside it. Every command is noted in state/log, one a line with single blanks.
//
//   <server>/hosts, <server>/cgroups     listings, as they stand
//   <server>/cg.<group>                  listing of a group, as it stands
//   <server>/ann.<group>.<name>          checkpoints; <server>/ti.<group>.<name> listings of time images
//   disks                                "path serial" lines; pending joins it at the delay-th discover
//   fail                                 one shell pattern a line: commands that match are refused
//   hollow                               if there: a new time image shows no LUNs section
#include <fnmatch.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <sstream>

#include "base/tests/text_file.h"
#include "providers/cdp/lmr/tests/answers.h"

namespace {

namespace fs = std::filesystem;
namespace answers = cdpfi::answers;
using base_test::contentOf;
using base_test::linesOf;
using base_test::writeFile;

/// What the tool says when it does not do what it is asked for.
struct SRefusal
{
    std::string text;
};

std::vector<std::string> wordsOf(const std::string& text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

class CState
{
  public:
    explicit CState(fs::path folder) : m_folder(std::move(folder)) {}

    fs::path file(const std::string& name) const { return m_folder / name; }
    std::string read(const std::string& name) const { return contentOf(file(name)); }
    void append(const std::string& name, const std::string& text) const { writeFile(file(name), read(name) + text); }
    /// Writes a command down; refuses it when the scenario wants that.
    void note(const std::string& command) const
    {
        append("log", command + "\n");
        for (const std::string& pattern : linesOf(read("fail"))) {
            if (::fnmatch(pattern.c_str(), command.c_str(), 0) == 0) throw SRefusal{"Error: refused by the scenario"};
        }
    }

  private:
    fs::path m_folder;
};

// ---- the disk utility
// ------------------------------------------------------------------------------------------------

void discover(const CState& state)
{
    const int delay = fs::exists(state.file("delay")) ? std::stoi(state.read("delay")) : 1;
    writeFile(state.file("delay"), std::to_string(delay - 1));
    if (delay > 1) return;
    state.append("disks", state.read("pending"));
    fs::remove(state.file("pending"));
}

void listDisks(const CState& state)
{
    std::vector<answers::SLun> disks;
    for (const std::string& line : linesOf(state.read("disks"))) {
        const std::vector<std::string> words = wordsOf(line);
        disks.push_back({words.at(0), words.at(1)});
    }
    std::cout << answers::disks(disks);
}

void runUtility(const CState& state, const std::string& command)
{
    state.note("kforutil " + command);
    if (command == "discover") discover(state);
    if (command == "listdisk") listDisks(state);
}

// ---- the appliance's shell
// ---------------------------------------------------------------------------------------------

/// One command to one appliance.
class CShell
{
  public:
    CShell(const CState& state, const std::string& server, std::vector<std::string> words)
        : m_state(state), m_server(server), m_words(std::move(words))
    {
    }

    void run() const
    {
        if (!fs::is_directory(m_state.file(m_server))) throw SRefusal{"Error: no server " + m_server};
        const std::string kind = m_words.at(0) + " " + m_words.at(1);
        if (kind == "list hosts") {
            show("hosts");
        } else if (kind == "show host") {
            std::cout << "Host " << word(2) << "\n";
        } else if (kind == "list cgroups") {
            show("cgroups");
        } else if (kind == "show cgroup") {
            show("cg." + word(2));
        } else if (kind == "create annotation") {
            if (has(objectNamed("ann"))) throw SRefusal{"Error: " + word(2) + " exists"};
            write(objectNamed("ann"), "");
        } else if (kind == "delete annotation") {
            remove(objectNamed("ann"), "annotation");
        } else if (kind == "create timeimage") {
            createImage();
        } else if (kind == "list timeimages") {
            listImages();
        } else if (kind == "show timeimage") {
            show(objectNamed("ti"));
        } else if (kind == "delete timeimage") {
            remove(objectNamed("ti"), "time image");
        } else if (kind != "update timeimage") {
            throw SRefusal{"Error: unknown command " + kind};
        }
    }

  private:
    /// A word without its quotes; empty when there is none.
    std::string word(size_t index) const
    {
        std::string text = index < m_words.size() ? m_words[index] : "";
        std::erase(text, '"');
        return text;
    }
    /// The file of the object that the command names, with its group behind it.
    std::string objectNamed(const std::string& kind) const { return kind + "." + word(3) + "." + word(2); }
    fs::path file(const std::string& name) const { return m_state.file(m_server) / name; }
    bool has(const std::string& name) const { return fs::exists(file(name)); }
    void write(const std::string& name, const std::string& text) const { writeFile(file(name), text); }
    void show(const std::string& name) const
    {
        if (!has(name)) throw SRefusal{"Error: no file " + name};
        std::cout << contentOf(file(name));
    }
    void remove(const std::string& name, const std::string& kind) const
    {
        if (!has(name)) throw SRefusal{"Error: no " + kind + " " + word(2)};
        fs::remove(file(name));
    }

    void createImage() const
    {
        const std::string annotation = word(6);
        if (!has("ann." + word(3) + "." + annotation)) throw SRefusal{"Error: no annotation " + annotation};
        if (has(objectNamed("ti"))) throw SRefusal{"Error: " + word(2) + " exists"};
        if (fs::exists(m_state.file("hollow"))) {
            write(objectNamed("ti"), "nothing to see\n");
            return;
        }
        std::vector<answers::SImageLun> luns;
        for (const std::string& line : linesOf(contentOf(file("cg." + word(3))))) {
            const size_t begin = line.find('[');
            if (begin == std::string::npos) continue;
            const std::string serial = line.substr(begin + 1, line.find(']') - begin - 1);
            luns.push_back({{"image" + serial, "T" + serial}, {"lun" + serial, serial}});
            m_state.append("pending", "/dev/image" + serial + " T" + serial + "\n");
        }
        write(objectNamed("ti"), answers::timeImage(word(2), luns));
    }

    /// The images of a group by name.
    void listImages() const
    {
        const std::string prefix = "ti." + word(2) + ".";
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(file(""))) {
            const std::string name = entry.path().filename().string();
            if (name.starts_with(prefix)) names.push_back(name.substr(prefix.size()));
        }
        std::ranges::sort(names);
        std::cout << answers::timeImages(names);
    }

    const CState& m_state;
    std::string m_server;
    std::vector<std::string> m_words;
};

/// A script is the server's line, the command's and "exit".
void runShell(const CState& state)
{
    const std::string script{std::istreambuf_iterator<char>(std::cin), {}};
    std::vector<std::string> words = wordsOf(script.substr(0, script.rfind("exit")));
    const std::string server = words.at(1);
    words.erase(words.begin(), words.begin() + 2);
    std::string command = server + ":";
    for (const std::string& word : words) {
        command += " " + word;
    }
    state.note(command);
    CShell(state, server, words).run();
}

}  // namespace

int main(int argc, char** argv)
{
    const fs::path program = argv[0];
    const CState state(program.parent_path() / "state");
    try {
        if (program.filename() == "kforutil") {
            runUtility(state, argc > 1 ? argv[1] : "");
        } else {
            runShell(state);
        }
    } catch (const SRefusal& refusal) {
        std::cout << refusal.text << "\n";
        return 1;
    }
    return 0;
}
