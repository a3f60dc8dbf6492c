#include "host/src/provider_check/snapshot_life.h"

#include <cstring>
#include <utility>

#include "framework/include/obzx_runtime.h"
#include "host/src/provider_check/arguments.h"

namespace fictl {

namespace {

std::string textOf(const char* text)
{
    return text == nullptr ? "null" : "\"" + std::string(text) + "\"";
}

std::string nameOf(const obzx_objid* identity)
{
    return identity == nullptr ? "null" : textOf(identity->name);
}

/// The names in an array of identities, for a transcript; every entry has one.
std::string namesOf(obzx_objid* const* identities, int32_t count)
{
    CSubject::expect((identities == nullptr) == (count == 0), "an array and its count, or null and 0",
                     "a count of " + std::to_string(count));
    std::string names;
    for (int32_t i = 0; i < count; ++i) {
        CSubject::expect(identities[i] != nullptr && identities[i]->name != nullptr, "an identity with a name",
                         "null in place " + std::to_string(i));
        names += " " + nameOf(identities[i]);
    }
    return names;
}

/// One life of a snapshot.
class CLifeRun
{
  public:
    CLifeRun(CSubject& subject, const SLife& life) : m_subject(subject), m_life(life) {}

    CTranscript run()
    {
        obz_domain* const node = m_arguments.node(interpose());
        claim(node);
        setUp(node);
        take(node);
        const std::string target = handOut();
        passState(node);
        if (!target.empty()) dispose(node, target);
        takeDown(node);
        return std::move(m_transcript);
    }

  private:
    void note(const std::string& step, int64_t status, const std::string& came = {})
    {
        m_transcript.push_back(step + " " + std::to_string(status) + came);
    }

    /// Calls a function by its words, for outputs that are freed by the table of what is freed how.
    template <class Result, class... Params, class Tell>
    void step(const char* name, Result (*SEntryPoints::*member)(Params...), const Tell& tell,
              std::type_identity_t<Params>... params)
    {
        const int64_t status = m_subject.call(member, params...);
        note(name, status, tell());
        giveBack(m_subject, functionCalled(name), {toWord(params)...}, m_life.scribble);
    }

    std::string interpose()
    {
        obzx_objid* interposed = nullptr;
        obzx_objid** groups = nullptr;
        int32_t count = 0;
        std::string name = m_life.device;
        const auto tell = [&] {
            if (interposed != nullptr && interposed->name != nullptr) name = interposed->name;
            return " " + nameOf(interposed) + namesOf(groups, count);
        };
        step("interpose", &SEntryPoints::interpose, tell, m_arguments.node(m_life.device), &interposed, &groups,
             &count);
        return name;
    }

    void claim(obz_domain* node)
    {
        obzx_objid** secondaries = nullptr;
        int32_t count = 0;
        step(
            "claim", &SEntryPoints::claim, [&] { return namesOf(secondaries, count); }, node->identity, &secondaries,
            &count);
        const int64_t supported = m_subject.call(&SEntryPoints::supports_fitype, node, "any");
        note("supports_fitype", supported, " access " + std::to_string(*node->access));
    }

    std::unique_lock<std::mutex> nodeLock() const
    {
        return m_life.nodeLock == nullptr ? std::unique_lock<std::mutex>() : std::unique_lock(*m_life.nodeLock);
    }

    void setUp(obz_domain* node)
    {
        const auto lock = nodeLock();
        note("init_node", m_subject.call(&SEntryPoints::init_node, node, nullptr, 0, nullptr));
    }

    void takeDown(obz_domain* node)
    {
        const auto lock = nodeLock();
        m_subject.call(&SEntryPoints::deinit_node, node);
    }

    void take(obz_domain* node)
    {
        const char* const session = m_life.session.c_str();
        obz_splitnode split = {nullptr, node};
        obz_splitnode* list[] = {&split};
        note("select", m_subject.call(&SEntryPoints::select, nullptr, session, list, 1));
        note("prepare", m_subject.call(&SEntryPoints::prepare, &split, session, nullptr, 0, 0));
        note("quiesce", m_subject.call(&SEntryPoints::quiesce, nullptr, list, 1));
        obzx_objid** identities = nullptr;
        int32_t count = 0;
        step(
            "make", &SEntryPoints::make, [&] { return namesOf(identities, count); }, nullptr, session, list, 1,
            &identities, &count);
        m_subject.call(&SEntryPoints::unquiesce, nullptr, list, 1);
        int32_t ready = 0;
        const int64_t status = m_subject.call(&SEntryPoints::isready, nullptr, list, 1, &ready);
        note("isready", status, " " + std::to_string(ready));
    }

    // The target-device name of the copy; empty when there is none.
    std::string handOut()
    {
        obz_snaphandle handle{};
        std::string target;
        const auto tell = [&] {
            std::string entries;
            for (int32_t i = 0; i < handle.count; ++i) {
                entries += " " + textOf(handle.entries[i].node) + " as " + textOf(handle.entries[i].target);
                target = handle.entries[i].target == nullptr ? "" : handle.entries[i].target;
            }
            return entries;
        };
        step("update_snapshot_handle", &SEntryPoints::update_snapshot_handle, tell, m_life.session.c_str(), &handle);
        return target;
    }

    void passState(obz_domain* node)
    {
        obz_blob blob{};
        note("process_providerstate", m_subject.call(&SEntryPoints::process_providerstate, node, &blob, OBZ_STATE_GET),
             " " + textOf(static_cast<const char*>(blob.data)));
        if (blob.data == nullptr) return;
        obz_domain* const second = m_arguments.node(m_life.device);
        {
            const auto lock = nodeLock();
            note("process_providerstate",
                 m_subject.call(&SEntryPoints::process_providerstate, second, &blob, OBZ_STATE_SET));
        }
        obzx_free_buf(blob.data, 0);
        takeDown(second);
    }

    void dispose(obz_domain* node, const std::string& target)
    {
        note("dispose",
             m_subject.call(&SEntryPoints::dispose, node, m_arguments.node(target), nullptr, OBZ_DISP_REMOVE));
    }

    CSubject& m_subject;
    const SLife& m_life;
    CArguments m_arguments;
    CTranscript m_transcript;
};

}  // namespace

CTranscript liveOnce(CSubject& subject, const SLife& life)
{
    return CLifeRun(subject, life).run();
}

std::string differenceOf(const CTranscript& expected, const CTranscript& came)
{
    for (size_t i = 0; i < expected.size() || i < came.size(); ++i) {
        const std::string wanted = i < expected.size() ? expected[i] : "nothing";
        const std::string got = i < came.size() ? came[i] : "nothing";
        if (wanted != got) return got + ", and before " + wanted;
    }
    return {};
}

}  // namespace fictl
