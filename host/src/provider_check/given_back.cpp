#include "host/src/provider_check/given_back.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>

#include "framework/include/obzx_runtime.h"

namespace fictl {

namespace {

/// The outputs of one call.
class CGiving
{
  public:
    CGiving(CSubject& subject, const SFunction& function, const CWords& words, EScribble scribble)
        : m_subject(subject), m_function(function), m_words(words), m_scribble(scribble)
    {
    }

    CSubject& subject() const { return m_subject; }

    template <class T>
    T* input(const char* argument) const
    {
        return fromWord<T*>(m_words[m_function.placeOf(argument)]);
    }
    template <class T>
    T output(const char* argument) const
    {
        const T* const place = input<T>(argument);
        return place == nullptr ? T{} : *place;
    }

    void scribble(char* text) const
    {
        if (text != nullptr && m_scribble == EScribble::YES) std::memset(text, '#', std::strlen(text));
    }
    void freeText(char* text) const
    {
        scribble(text);
        obzx_free_buf(text, 0);
    }
    void freeIdentity(obzx_objid* identity) const
    {
        if (identity != nullptr) scribble(identity->name);
        obzx_free_objid(identity);
    }
    void freeIdentities(const char* argument, const char* count) const
    {
        auto** const identities = output<obzx_objid**>(argument);
        const auto size = output<int32_t>(count);
        for (int32_t i = 0; identities != nullptr && i < size; ++i) {
            if (identities[i] != nullptr) scribble(identities[i]->name);
        }
        obzx_free_objid_array(identities, size);
    }
    void freeIdentityList(const char* argument) const
    {
        for (auto* entry = output<obz_objid_list*>(argument); entry != nullptr;) {
            obz_objid_list* const next = entry->next;
            freeIdentity(entry->identity);
            obzx_free_buf(entry, sizeof *entry);
            entry = next;
        }
    }
    void freeBuffer(const char* argument) const { obzx_free_buf(output<void*>(argument), 0); }
    void takeDown(const char* argument) const
    {
        m_subject.call(&SEntryPoints::deinit_node, input<obz_domain>(argument));
    }

  private:
    CSubject& m_subject;
    const SFunction& m_function;
    const CWords& m_words;
    EScribble m_scribble;
};

void giveProviders(const CGiving& giving)
{
    auto* const list = giving.output<obz_provider_list*>("provider");
    if (list != nullptr) giving.scribble(list->name);
    obzx_free_provider_list(list);
}

void giveMethods(const CGiving& giving)
{
    auto* const list = giving.output<obz_fim_list*>("fims");
    for (const obz_fim_list* method = list; method != nullptr; method = method->next) {
        giving.scribble(method->name);
        giving.scribble(method->version);
        giving.scribble(method->provider);
    }
    obzx_free_fim_list(list);
}

void giveParameters(const CGiving& giving)
{
    auto* const list = giving.output<obz_confspec*>("parameters");
    for (const obz_confspec* value = list; value != nullptr; value = value->next) {
        for (char* const text : {value->name, value->type, value->value, value->help}) {
            giving.scribble(text);
        }
    }
    obzx_free_confspec(list);
}

void giveMessageText(const CGiving& giving)
{
    auto* const text = giving.output<char*>("text");
    giving.scribble(text);
    if (text != nullptr) giving.subject().call(&SEntryPoints::del_locale_message, text);
}

void giveMessage(const CGiving& giving)
{
    auto* const message = giving.output<obz_msg_info*>("message");
    if (message != nullptr) giving.subject().call(&SEntryPoints::del_last_error, message);
}

void giveInterposed(const CGiving& giving)
{
    giving.freeIdentity(giving.output<obzx_objid*>("interposed"));
    giving.freeIdentities("groups", "group_count");
}

void giveAttributes(const CGiving& giving)
{
    for (auto* entry = giving.output<obz_attributes*>("attributes"); entry != nullptr;) {
        obz_attributes* const next = entry->next;
        giving.freeText(entry->name);
        giving.freeText(entry->value);
        obzx_free_buf(entry, sizeof *entry);
        entry = next;
    }
}

void giveState(const CGiving& giving)
{
    auto* const blob = giving.input<obz_blob>("blob");
    if (blob != nullptr) giving.freeText(static_cast<char*>(blob->data));
    giving.takeDown("node");
}

void giveAssociations(const CGiving& giving)
{
    for (auto* entry = giving.output<obz_association_list*>("associations"); entry != nullptr;) {
        obz_association_list* const next = entry->next;
        giving.freeIdentity(entry->first);
        giving.freeIdentity(entry->second);
        obzx_free_buf(entry, sizeof *entry);
        entry = next;
    }
}

void giveHandle(const CGiving& giving)
{
    auto* const handle = giving.input<obz_snaphandle>("handle");
    for (int32_t i = 0; handle != nullptr && handle->entries != nullptr && i < handle->count; ++i) {
        giving.scribble(handle->entries[i].node);
        giving.scribble(handle->entries[i].target);
    }
    obzx_free_snaphandle(handle);
}

// A primary without private data gives its own identity out.
void giveImported(const CGiving& giving)
{
    auto* const imported = giving.output<obzx_objid*>("output");
    const auto* const primary = giving.input<obz_domain>("primary");
    if (primary == nullptr || imported != primary->identity) giving.freeIdentity(imported);
}

void giveReply(const CGiving& giving)
{
    auto* const reply = giving.output<char*>("reply");
    giving.scribble(reply);
    std::free(reply);
}

void giveImportNodes(const CGiving& giving)
{
    giving.takeDown("primary");
    giving.takeDown("target");
}

using Give = std::function<void(const CGiving&)>;

Give identityIn(const char* argument)
{
    return [argument](const CGiving& giving) { giving.freeIdentity(giving.output<obzx_objid*>(argument)); };
}
Give identitiesIn(const char* argument, const char* count)
{
    return [argument, count](const CGiving& giving) { giving.freeIdentities(argument, count); };
}
Give identityListIn(const char* argument)
{
    return [argument](const CGiving& giving) { giving.freeIdentityList(argument); };
}
Give textIn(const char* argument)
{
    return [argument](const CGiving& giving) { giving.freeText(giving.output<char*>(argument)); };
}
Give bufferIn(const char* argument)
{
    return [argument](const CGiving& giving) { giving.freeBuffer(argument); };
}
Give nodeIn(const char* argument)
{
    return [argument](const CGiving& giving) { giving.takeDown(argument); };
}

/// What frees the outputs of a function. restore is not there: what comes out is the provider's own affair.
const std::map<std::string, Give>& givings()
{
    static const std::map<std::string, Give> all = {
        {"get_provider_info", giveProviders},
        {"enumerate_fims", giveMethods},
        {"config", giveParameters},
        {"errmsg", giveMessageText},
        {"get_locale_message", giveMessageText},
        {"get_last_error", giveMessage},
        {"interpose", giveInterposed},
        {"claim", identitiesIn("secondaries", "secondary_count")},
        {"getattr", giveAttributes},
        {"init_node", nodeIn("node")},
        {"init_altnode", giveImportNodes},
        {"init_remnode", giveImportNodes},
        {"process_providerstate", giveState},
        {"reaccess_tmpobj", identityIn("identity")},
        {"reaccess_altnode", identityIn("identity")},
        {"subobj_list", identitiesIn("subobjects", "count")},
        {"enumerate_nodes", identityListIn("nodes")},
        {"enumerate_group_nodes", identityListIn("nodes")},
        {"enumerate_associations", giveAssociations},
        {"get_associated_nodes", identityListIn("nodes")},
        {"enumerate_enclosures", identityListIn("enclosures")},
        {"enumerate_host_nodes", identityListIn("hosts")},
        {"query_valid_secondaries", identityListIn("secondaries")},
        {"make", identitiesIn("identities", "identity_count")},
        {"update_snapshot_handle", giveHandle},
        {"getSnapshotSetId", textIn("id")},
        {"createSnapReplicaNode", bufferIn("replica")},
        {"get_snapdiff", identityListIn("differences")},
        {"import_tree", giveImported},
        {"translate_resource_names", bufferIn("translated")},
        {"get_backupset", bufferIn("set")},
        {"objctl", giveReply},
    };
    return all;
}

}  // namespace

void giveBack(CSubject& subject, const SFunction& function, const CWords& words, EScribble scribble)
{
    const auto found = givings().find(function.name);
    if (found == givings().end()) return;
    const CSubject::CStep step(subject, "what " + function.name + " has handed out is freed");
    found->second(CGiving(subject, function, words, scribble));
}

}  // namespace fictl
