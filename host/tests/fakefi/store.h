#pragma once

#include <string>
#include <vector>

/// A LUN as it is now; a line of the file "devices".
struct SLun
{
    std::string path;
    std::string serial;
    std::string appliance;
    std::string group;
};

/// A consistency group of an appliance.
struct SGroup
{
    std::string appliance;
    std::string name;
};

struct SAnnotation
{
    std::string name;
    std::string time;
    std::string message;
};

struct SImage
{
    std::string name;
    std::string annotation;
    std::string created;
    std::vector<std::string> permissions;  ///< hosts
    bool isGrantedTo(const std::string& host) const;
};

/**
 * What the test appliances know and keep, all in $OBZX_ROOT/fake:
 *
 *     devices   lines "path serial appliance group"
 *     groups    lines "appliance group", for groups that may have no LUN; those of devices need not be named
 *     hosts     lines "appliance host"; without the file every host is known to every appliance
 *     faults    lines "point action [text]", see faults.h
 *     tool      path of the program that the provider runs in place of fakefi_tool
 *     limit     seconds that the provider gives a run of it; 600 without the file
 *     parallel  how many runs of it the inspector allows at once; it tells nothing without the file
 *     calls     one line for each call of the provider, appended
 *     objects/  a file for each checkpoint and time image: <appliance>.<group>.<name>, with lines "key value"
 *     copies/   a file for each imported device: its serial
 *
 * A line that holds a tab is split at its tabs, so that a name can hold blanks. The name of this host stands in
 * $OBZX_ROOT/host, "here" without the file: two hosts are two root directories whose "fake" is the same folder.
 */
class CStore
{
  public:
    CStore();

    const std::string& folder() const { return m_folder; }  ///< ends in a slash
    std::string hostName() const;
    std::string toolPath(const std::string& otherwise) const;
    unsigned long limitSeconds() const;
    unsigned parallel() const;  ///< 0: not told

    std::vector<SLun> luns() const;
    std::vector<std::string> appliances() const;  ///< sorted
    std::vector<std::string> groups(const std::string& appliance) const;
    std::vector<std::string> hosts(const std::string& appliance) const;
    bool isGroup(const SGroup& group) const;
    bool isHost(const std::string& appliance, const std::string& host) const;
    /// True and the LUN whose path or serial it is.
    bool find(const std::string& pathOrSerial, SLun& found) const;
    std::vector<SLun> lunsOf(const SGroup& group) const;

    void logCall(const std::string& line) const;

    bool has(const SGroup& group, const std::string& object) const;
    std::vector<SAnnotation> annotations(const SGroup& group) const;
    std::vector<SImage> images(const SGroup& group) const;
    bool findImage(const SGroup& group, const std::string& name, SImage& found) const;
    /// False when there is an object of that name already.
    bool create(const SGroup& group, const SAnnotation& annotation) const;
    bool create(const SGroup& group, const SImage& image) const;
    /// False when there is none. An image takes the copies made of it along.
    bool remove(const SGroup& group, const std::string& object) const;

    /// The path at which the copy of a LUN in an image shows on this host.
    std::string copyPath(const SGroup& group, const std::string& image, const std::string& serial) const;
    std::string createCopy(const SGroup& group, const std::string& image, const std::string& serial) const;

  private:
    std::vector<std::vector<std::string>> table(const std::string& name) const;
    std::vector<std::string> objects(const SGroup& group, const std::string& prefix) const;
    std::string objectPath(const SGroup& group, const std::string& object) const;

    std::string m_root;
    std::string m_folder;
};

/// The first line of a file; empty when there is none.
std::string firstLineOf(const std::string& path);
/// The words of a line: between tabs where it holds one, else between blanks.
std::vector<std::string> fieldsOf(const std::string& line);
