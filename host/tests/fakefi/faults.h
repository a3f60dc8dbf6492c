#pragma once

#include <initializer_list>
#include <string>

#include "host/tests/fakefi/store.h"

/**
 * Faults to order: lines "point action [text]" of the store's file "faults". "\n" in a text stands for a newline.
 *
 *     fail[=N]        it fails without effect; of a command the text is the answer, N its exit status (1)
 *     lost[=N]        it takes effect and then fails in the same way
 *     lies            a command answers that it is done, without effect
 *     killed          fictl gets SIGKILL before the effect
 *     killed-after    fictl gets SIGKILL after it
 *     dies, dies-after    the tool itself gets SIGKILL
 *     hangs, hangs-after  no answer comes, until somebody ends the tool
 *     wait, wait-after    creates fake/<text>.reached and goes on once fake/<text> is there
 *     meets=N             goes on once N processes have come to a point with this text; fails when they do not come
 *
 * Points of the provider, each the name of an entry point or of a part of it:
 *     init version claim supports init_node:<node> state preselect select quiesce unquiesce prepare make
 *     made (in make, when every checkpoint is made) update_snapshot_handle find:<serial> dispose
 * Points of the commands that the tool carries out for the appliance:
 *     hosts:<appliance>          list hosts, which the provider sends when it starts
 *     interpose                  list cgroups, which interpose sends; also groups:<appliance>
 *     show-group:<group>         show cgroup
 *     make:<group>               create annotation
 *     image:<group>              create timeimage
 *     delete-annotation:<group>  delete-timeimage:<group>
 *     list-images:<group>        list timeimages
 *     show-image:<group>         show timeimage
 *     appliance:<appliance>      any command, where no other point is armed; the inspector asks it too
 * Points of the inspector are told in fakefi_inspect.cpp.
 */
struct SFault
{
    enum class EAction
    {
        NONE,
        FAIL,
        LOST,
        LIES,
        KILLED,
        KILLED_AFTER,
        DIES,
        DIES_AFTER,
        HANGS,
        HANGS_AFTER,
        WAIT,
        WAIT_AFTER,
        MEETS,
        OTHER,  ///< a word that somebody else knows
    };
    EAction action = EAction::NONE;
    int status = 1;
    std::string text;
    std::string word;  ///< the action as it is written
};

class CFaults
{
  public:
    /// host is the process id of fictl.
    CFaults(const CStore& store, int host) : m_store(store), m_host(host) {}

    /// The fault that is armed for the first of the points that has one.
    SFault find(std::initializer_list<std::string> points) const;
    /// Does what comes before the effect and does not return where the process ends or hangs.
    void before(const SFault& fault) const;
    /// Does what comes after it, in the same way.
    void after(const SFault& fault) const;

    /// For a step of the provider: whether it is to fail, with the text.
    bool fails(const std::string& point, std::string& text) const;
    bool fails(const std::string& point) const;

  private:
    void waitFor(const std::string& name) const;
    void meet(const std::string& name, int count) const;
    [[noreturn]] void waitForTheEnd() const;
    [[noreturn]] void killHost() const;
    bool hostLives() const;

    const CStore& m_store;
    int m_host;
};
