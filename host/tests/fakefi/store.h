#pragma once

#include <string>
#include <vector>

/**
 * What the test provider knows and keeps, all in $OBZX_ROOT/fake:
 *
 *     devices   lines "path serial appliance group"
 *     faults    lines "point action [text]", see CStore::fault
 *     calls     one line for each call, appended
 *     objects/  a file for each checkpoint and time image: <appliance>.<group>.<name>
 *     copies/   a file for each imported device: its serial
 */
struct SLun
{
    std::string path;
    std::string serial;
    std::string appliance;
    std::string group;
};

class CStore
{
  public:
    CStore();

    std::vector<SLun> luns() const;
    const SLun* find(const std::string& pathOrSerial);  ///< null when there is none; valid until the next find
    bool isGroup(const std::string& name) const;

    void logCall(const std::string& line) const;
    bool has(const SLun& lun, const std::string& object) const;
    void create(const SLun& lun, const std::string& object) const;
    bool remove(const SLun& lun, const std::string& object) const;
    std::string copyPath(const std::string& serial) const;  ///< creates the copy's file

    /**
     * Carries out the fault that is armed for a point and tells what is left to do:
     *   none      nothing armed: go on
     *   fail      the step fails without effect; the text is the appliance's answer
     *   lost      the step takes effect and then fails
     *   killed    does not return: the process gets SIGKILL
     *   killed-after  the step takes effect, then afterEffect kills the process
     *   wait      creates fake/<text>.reached and goes on once fake/<text> is there
     */
    enum class EFault
    {
        NONE,
        FAIL,
        LOST,
        KILL_AFTER
    };
    EFault fault(const std::string& point, std::string& text) const;
    static void afterEffect(EFault fault);

  private:
    std::string objectPath(const SLun& lun, const std::string& object) const;
    std::string m_folder;
    SLun m_found;
};
