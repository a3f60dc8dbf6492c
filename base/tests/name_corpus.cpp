#include "base/tests/name_corpus.h"

#include <algorithm>
#include <iterator>

namespace base_test {

namespace {

using Names = std::vector<SCorpusName>;

// A word of letters, digits, "." and "_" that begins with a letter or digit suits everything.
constexpr unsigned EVERYTHING = APPLIANCE | HOST | LUN | GROUP | ANNOTATION | IMAGE | SNAPSHOT | SERIAL;
// These have a text for a name.
constexpr unsigned TEXT = GROUP | ANNOTATION;

constexpr const char* DEVICE_PATH = "holds \"/dev/\", which marks a device path";
constexpr const char* NODE = "holds \"<cdpfi>\", which marks a node of the provider";
constexpr const char* QUOTE = "holds a double quote, which ends a name in the appliance's commands";
constexpr const char* CONTROL = "holds a control character";
constexpr const char* ENCODING = "is not valid UTF-8";

std::string partOfState(const std::string& tag)
{
    return "holds \"" + tag + "\", which marks a part of a node's state";
}

std::string repeated(const std::string& text, int times)
{
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

// Plain ones, and what they could be mistaken for.
const Names& plainNames()
{
    static const Names names = {
        {"a word", "payroll", EVERYTHING},
        {"digits alone", "77", EVERYTHING},
        {"zero", "0", EVERYTHING},
        {"one letter", "g", EVERYTHING},
        {"the same in the other case", "G", EVERYTHING},
        {"a word and its case pair", "PAYROLL", EVERYTHING},
        {"a number to a printer", "1e9", EVERYTHING},
        {"dots inside", "a.b..c.", EVERYTHING},
        {"a name of the network", "host-1.example.com", EVERYTHING & ~(LUN | SERIAL)},
        {"a word of JSON", "null", EVERYTHING},
        {"a command of the shell", "exit", EVERYTHING},
        {"the end of a command", "commit", EVERYTHING},
        {"the first word of a script", "server", EVERYTHING},
        {"a word of the keyword lines", "annotation", EVERYTHING},
        {"a value of a mode", "no", EVERYTHING},
        {"the name of a host, too", "backup", EVERYTHING},
        {"the name of an appliance, too", "alpha", EVERYTHING},
        {"what a checkpoint is called", "KSV_Check_Point_1", EVERYTHING},
        {"what a time image is called", "KSV_Time_Image_1", EVERYTHING},
        {"the mark of a checkpoint alone", "KSV_Check_Point_", EVERYTHING},
        {"a database's file", "appliance.db-wal", (TEXT | IMAGE | HOST | SNAPSHOT)},
        {"the file of the engine", "engine.conf", EVERYTHING & ~APPLIANCE},
        {"the folder of clients", "ceph.clients", EVERYTHING & ~APPLIANCE},
        {"folders of the appliance", "dev", EVERYTHING},
        {"as long as a LUN's may be", std::string(64, 'l'), EVERYTHING},
        {"one byte longer", std::string(65, 'l'), EVERYTHING & ~(APPLIANCE | LUN)},
        {"as long as a snapshot's may be", std::string(128, 's'), EVERYTHING & ~(APPLIANCE | LUN)},
        {"as long as a host's may be", std::string(253, 'h'), TEXT | IMAGE | HOST | SERIAL},
        {"as long as a group's may be", std::string(255, 'g'), TEXT | IMAGE | SERIAL},
        {"one byte too long for all", std::string(256, 'g'), SERIAL},
        {"longer than anybody works with", std::string(1025, 'g'), NOTHING, "is longer than 1024 bytes"},
        {"nothing", "", NOTHING, "is empty"},
    };
    return names;
}

// What stands in the listings.
const Names& listingMarks()
{
    static const Names names = {
        {"the mark of the group listing", "payroll luns=3", ANNOTATION},
        {"nearly that mark", "payroll luns =3 LUNS=3", TEXT},
        {"a section of a group", "Permissions:", SNAPSHOT},
        {"the section with the LUNs", "my Protected LUNS:", NOTHING},
        {"the section of the annotations", "Annotations:", TEXT | IMAGE | SNAPSHOT | SERIAL},
        {"the section of the images", "Time images:", TEXT | SERIAL},
        {"the section of a host", "Presented LUNs:", TEXT | SERIAL},
        {"the section of an image", "TimeImage LUNs:", NOTHING},
        {"a section without its colon", "Permissions", EVERYTHING},
        {"a field of a listing", "Annotation: KSV_Check_Point_1", TEXT | SERIAL},
        {"a heading of a listing", "Consistency Group: payroll", TEXT | SERIAL},
        {"a field behind an image", "annotation=KSV", TEXT | IMAGE | SERIAL},
        {"the answer for no images", "There are none!", NOTHING},
        {"nearly that answer", "There are none", TEXT | SERIAL},
        {"the heading of the disk listing", "Device SCSI address Type Identity", TEXT | SERIAL},
        {"the separator of the disk listing", std::string(122, '='), TEXT | IMAGE | SERIAL},
        {"a line of a group", "/dev/sdb [ABC123] 10GB", TEXT, DEVICE_PATH},
        {"brackets", "[x]", TEXT | IMAGE},
        {"parentheses", "(x)", TEXT | IMAGE},
        {"an arrow", "a <- b", TEXT},
        {"an empty pair of brackets", "[]", TEXT | IMAGE},
        {"a time", "2026-11-21T01:51:22Z", TEXT | IMAGE | SNAPSHOT},
        {"a count", "images=1", TEXT | IMAGE | SERIAL},
        {"an empty answer's word", "(none)", TEXT | IMAGE},
    };
    return names;
}

// What stands in the provider's names and in the state of a node.
const Names& nodeMarks()
{
    static const Names names = {
        {"an angle bracket", "a<b", TEXT | IMAGE},
        {"an angle bracket alone", "<", TEXT | IMAGE},
        {"an angle bracket at the end", "b>", TEXT | IMAGE | SERIAL},
        {"a node", "<cdpfi>zz", TEXT | IMAGE, NODE},
        {"a node within", "zz<cdpfi>", TEXT | IMAGE, NODE},
        {"a node of another provider", "<other>zz", TEXT | IMAGE},
        {"the tag of a serial", "<DeviceID>x<DeviceID/>", TEXT | IMAGE},
        {"the tag of a checkpoint", "<Annotation>x<Annotation/>", TEXT | IMAGE},
        {"a part of the state", "<SerialNo>x</SerialNo>", TEXT | IMAGE, partOfState("<SerialNo>")},
        {"the end of its own part", "x</ConsistencyGroup>", TEXT | IMAGE, partOfState("</ConsistencyGroup>")},
        {"a part before its own", "<ApplianceName>", TEXT | IMAGE, partOfState("<ApplianceName>")},
        {"nearly a part", "<SerialNo", TEXT | IMAGE},
        {"a device path", "/dev/sdb", TEXT | IMAGE, DEVICE_PATH},
        {"a device path within", "x/dev/y", TEXT | IMAGE, DEVICE_PATH},
        {"a folder of devices without its end", "/dev", TEXT | IMAGE},
        {"a path", "../../etc/passwd", TEXT | IMAGE},
        {"a slash", "a/b", TEXT | IMAGE},
        {"a folder", ".", TEXT | IMAGE | SERIAL},
        {"the folder above", "..", TEXT | IMAGE | SERIAL},
        {"a hidden file", ".hidden", TEXT | IMAGE | SERIAL},
    };
    return names;
}

// What shells, formats and command lines have a meaning for.
const Names& commandTexts()
{
    static const Names names = {
        {"a substitution", "$(reboot)", TEXT | IMAGE},
        {"another one", "`id`", TEXT | IMAGE | SERIAL},
        {"a variable", "$HOME", TEXT | IMAGE | SERIAL},
        {"the end of a command line", "a;b", TEXT | IMAGE | SERIAL},
        {"a pipe", "a|b&c", TEXT | IMAGE | SERIAL},
        {"an apostrophe", "it's", TEXT | IMAGE | SERIAL},
        {"a double quote", "a\"b", NOTHING, QUOTE},
        {"a quoted word", "\"a\"", NOTHING, QUOTE},
        {"a backslash", "a\\b", TEXT | IMAGE | SERIAL},
        {"a backslash at the end", "a\\", TEXT | IMAGE | SERIAL},
        {"an escaped newline", "a\\nb", TEXT | IMAGE | SERIAL},
        {"conversions", "%s%n%99999d", TEXT | IMAGE | SERIAL},
        {"a comment", "#x", TEXT | IMAGE | SERIAL},
        {"an option", "--output", TEXT | IMAGE},
        {"a dash", "-", TEXT | IMAGE},
        {"a dash inside", "a-b", EVERYTHING & ~(LUN | SERIAL)},
        {"a pattern", "a*?", TEXT | IMAGE | SERIAL},
        {"an address", "a@b:c+d", TEXT | IMAGE | SNAPSHOT | SERIAL},
        {"an underscore in front", "_x", TEXT | IMAGE | SNAPSHOT | SERIAL},
        {"a line of a script", "exit; list cgroups", TEXT | SERIAL},
        {"an object of JSON", "{'a':1}", TEXT | IMAGE | SERIAL},
    };
    return names;
}

// Blanks and control characters.
const Names& blankNames()
{
    static const Names names = {
        {"a blank inside", "pay roll", TEXT | SERIAL},
        {"two blanks inside", "pay  roll", TEXT | SERIAL},
        {"a blank in front", " payroll", NOTHING},
        {"a blank at the end", "payroll ", NOTHING},
        {"a tab inside", "pay\troll", NOTHING, CONTROL},
        {"a newline", "pay\nroll", NOTHING, CONTROL},
        {"a newline and a command", "x\ncommit", NOTHING, CONTROL},
        {"a carriage return", "payroll\r", NOTHING, CONTROL},
        {"an escape sequence", "\x1b[31mred", NOTHING, CONTROL},
        {"a deletion", "a\x7f", NOTHING, CONTROL},
        {"a control character of two bytes", "a\xc2\x85z", NOTHING, CONTROL},
    };
    return names;
}

// Other alphabets, and what is none.
const Names& otherAlphabets()
{
    static const Names names = {
        {"a letter of two bytes", "B\xc3\xbcro", TEXT | IMAGE | SERIAL},
        {"the same in two parts", "Bu\xcc\x88ro", TEXT | IMAGE | SERIAL},
        {"wide characters", "\xe7\xb5\xa6\xe4\xb8\x8e", TEXT | IMAGE | SERIAL},
        {"a character of four bytes", "\xf0\x9f\x92\xbe", TEXT | IMAGE | SERIAL},
        {"as long as a group's may be, in two bytes each", "g" + repeated("\xc3\xa4", 127), TEXT | IMAGE | SERIAL},
        {"a blank that does not break", "\xc2\xa0payroll\xc2\xa0", TEXT | IMAGE | SERIAL},
        {"a separator of lines", "a\xe2\x80\xa8z", TEXT | IMAGE | SERIAL},
        {"a mark of order", "\xef\xbb\xbfpayroll", TEXT | IMAGE | SERIAL},
        {"from right to left", "\xe2\x80\xaelor", TEXT | IMAGE | SERIAL},
        {"no UTF-8", "a\xff", NOTHING, ENCODING},
        {"half a character", "B\xc3", NOTHING, ENCODING},
        {"half of a pair", "\xed\xa0\x80", NOTHING, ENCODING},
        {"a slash in too many bytes", "\xc0\xaf", NOTHING, ENCODING},
    };
    return names;
}

}  // namespace

const std::vector<SCorpusName>& answerLikeNames()
{
    static const std::vector<SCorpusName> names = {
        {"the end of an answer", "db that does not exist", TEXT | SERIAL},
        {"another one", "exists already", TEXT | SERIAL},
        {"an answer in brackets", "x] failed with error [y", TEXT},
        {"the middle of an answer", "] and output [", TEXT},
        {"a word of an answer", "error", EVERYTHING},
        {"a word behind a verb", "fail timed out", TEXT | SERIAL},
        {"an answer about a group", "x in group y", TEXT | SERIAL},
        {"the name of a tool", "lmsh: payroll", TEXT | SERIAL},
        {"letters of two bytes", "gr\xc3\xbc\xc3\x9f", TEXT | IMAGE | SERIAL},
        {"a command line", "a'b; $(x)", TEXT},
    };
    return names;
}

const std::vector<SCorpusName>& nameCorpus()
{
    static const Names corpus = [] {
        Names all;
        for (const Names& names : {plainNames(), listingMarks(), nodeMarks(), commandTexts(), blankNames(),
                                   otherAlphabets(), answerLikeNames()}) {
            all.insert(all.end(), names.begin(), names.end());
        }
        return all;
    }();
    return corpus;
}

std::vector<SCorpusName> namesFor(ECarrier carrier)
{
    Names names;
    std::ranges::copy_if(nameCorpus(), std::back_inserter(names),
                         [carrier](const SCorpusName& name) { return name.isFor(carrier); });
    return names;
}

}  // namespace base_test
