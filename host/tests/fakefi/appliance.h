#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/tests/fakefi/faults.h"
#include "host/tests/fakefi/store.h"

/// What a script came to: an exit status and all that is written.
struct SAnswer
{
    int status = 0;
    std::string text;
};

/**
 * Carries scripts out as the appliance's shell does: the same commands, refusals and exit statuses (0 done, 2 malformed
 * script, 3 an object does not exist, 4 an object exists already, 5 an object is in use), on the objects of the store,
 * with the faults that are armed.
 */
class CAppliance
{
  public:
    CAppliance(const CStore& store, const CFaults& faults) : m_store(store), m_faults(faults) {}

    SAnswer run(const std::string& script);

  private:
    using Words = std::vector<std::string>;
    using Body = std::vector<Words>;

    std::string command(const Words& head, const Body& body);
    std::string carryOut(const std::string& point, const std::function<std::string()>& command) const;
    std::string listHosts() const;
    std::string listGroups() const;
    std::string showGroup(const SGroup& group) const;
    std::string createAnnotation(const SGroup& group, const std::string& name, const Body& body) const;
    std::string deleteAnnotation(const SGroup& group, const std::string& name) const;
    std::string createImage(const SGroup& group, const std::string& name, const Body& body) const;
    std::string deleteImage(const SGroup& group, const std::string& name) const;
    std::string listImages(const SGroup& group) const;
    std::string showImage(const SGroup& group, const std::string& name) const;
    void requireGroup(const SGroup& group) const;
    SImage requireImage(const SGroup& group, const std::string& name) const;

    const CStore& m_store;
    const CFaults& m_faults;
    std::string m_server;
};

/// The words of a line of a script, a name in double quotes as one word without them.
std::vector<std::string> wordsOf(const std::string& line);
