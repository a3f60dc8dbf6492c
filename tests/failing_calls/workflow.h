#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "framework/include/obz_entry_points.h"
#include "framework/include/obzx_runtime.h"

/// A provider's library, loaded once.
class CProviderLibrary
{
  public:
    CProviderLibrary(const std::string& path, std::string name);

    template <class Function>
    Function* entry(const char* name) const
    {
        return reinterpret_cast<Function*>(find(name));
    }

  private:
    void* find(const char* name) const;

    void* m_library;
    std::string m_prefix;
};

/**
 * One snapshot's life on a CScratchHost: start, look at a device, set up, snapshot, import, dispose, take down, end. As
 * a host would, it goes on after a step that failed where that makes sense, and checks of every step that its status is
 * one that is documented and that its outputs are right, or empty where it failed.
 */
class CWorkflow
{
  public:
    explicit CWorkflow(const CProviderLibrary& library) : m_library(library) {}

    void run();
    /// What was not as documented; empty: all was.
    const std::vector<std::string>& complaints() const { return m_complaints; }
    /// Whether every step succeeded.
    bool succeeded() const { return m_succeeded; }

  private:
    template <class Call>
    int32_t step(const char* name, std::initializer_list<int32_t> documented, const Call& call);
    void expect(bool holds, const char* what);

    bool start();
    void describe();
    void look();
    void snapshot(obz_domain& node);
    void make(obz_splitnode& split);
    void handOut();
    void import(obz_domain& node);
    void deliver(obz_domain& node, obz_domain& target);
    bool putTimeImage(obz_domain& node);
    void dispose(obz_domain& node);
    void errors();
    void freeText(char* text);
    void takeDown(obz_domain& node);

    const CProviderLibrary& m_library;
    std::vector<std::string> m_complaints;
    bool m_succeeded = true;
};
