#include "pdk/tests/testfi/testfi_plugin.h"

#include <ace/Guard_T.h>

#include <stdexcept>

#include "pdk/include/cfipluginname.h"

// FI_PROVIDER comes from the build, which makes two providers of this source.
#define FI_PLUGIN_CLASS testfi::CTestPlugin
#include "pdk/include/cfiapiexport.h"

namespace testfi {

using obzx_pdk_4_4::CFiKeyValuePair;

CTestPlugin::CTestPlugin() : m_record(STestRecord::find())
{
    setMessageIndexOffset(1);  // for what init sets to be seen
    if (m_record != nullptr) ++m_record->plugins;
}

CTestPlugin::~CTestPlugin()
{
    if (m_record == nullptr) return;
    --m_record->plugins;
    ++m_record->destroyed;
}

// The texts are what init gave the plug-in.
int32_t CTestPlugin::init()
{
    const std::string wide(cfi_pgn_name_wstr.begin(), cfi_pgn_name_wstr.end());
    std::vector<std::string> texts = {
        m_providerName.c_str(),
        cfi_pgn_name_str,
        wide,
        getFimName(),
        std::to_string(m_messageIndexOffset),
        m_catalogManager->getNativeLanguage(),
        m_traceLog->getComponent().c_str(),
        m_traceLog->getErrorManager() == m_errorManager ? "errors wired" : "errors missing",
        m_privateDataManager->traceLog() == m_traceLog ? "private data traces" : "private data silent",
        m_sessionManager ? "sessions" : "no sessions",
    };
    m_errorManager->report("init was here", OBZ_SEV_WARNING);
    return static_cast<int32_t>(note({"init", {}, texts, references()}));
}

int64_t CTestPlugin::objctl(const ACE_String_Base<char>& name, obzx_pdk_4_4::CFiObjctlArgs& args)
{
    std::vector<std::string> texts = {name.c_str()};
    for (const CFiKeyValuePair& input : args.getInputs()) {
        texts.push_back(std::string(input.m_arg.c_str()) + "|" + input.m_value.c_str() + "|" + input.m_type.c_str());
    }
    if (m_record != nullptr) {
        for (const auto& [arg, value] : m_record->outputs) {
            args.addOutput({arg.c_str(), value.c_str(), "string"});
        }
    }
    return note({"objctl", {}, texts, references()});
}

int32_t CTestPlugin::references()
{
    const ACE_Guard<ACE_Thread_Mutex> guard(countLock());
    return getCount();
}

std::vector<std::string> CTestPlugin::nodeNames(obz_splitnode** nodes, int32_t count)
{
    std::vector<std::string> names;
    for (int32_t i = 0; nodes != nullptr && i < count; ++i) {
        names.emplace_back(nodes[i]->node->name);
    }
    return names;
}

std::vector<std::string> CTestPlugin::sessionNames(const obzx_pdk_4_4::CFiSession& session)
{
    std::vector<std::string> names;
    for (const obzx_pdk_4_4::CFiSplitNode& node : session.getNodes()) {
        names.emplace_back(node.m_name.c_str());
    }
    return names;
}

int64_t CTestPlugin::note(STestRecord::SCall call)
{
    if (m_record == nullptr) return 0;
    const std::string operation = call.operation;
    if (m_record->onCall) m_record->onCall(operation);
    const std::lock_guard lock(m_record->mutex);
    m_record->calls.push_back(std::move(call));
    if (m_record->throwing == operation) throw std::runtime_error(operation);
    const auto answer = m_record->answers.find(operation);
    return answer == m_record->answers.end() ? 0 : answer->second;
}

}  // namespace testfi
