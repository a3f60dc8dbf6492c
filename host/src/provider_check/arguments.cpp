#include "host/src/provider_check/arguments.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace fictl {

namespace {

constexpr unsigned char CANARY = 0x5A;

size_t wholePages(size_t size)
{
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return (size + page - 1) / page * page;
}

}  // namespace

CReadOnlyText::CReadOnlyText(const std::string& text) : m_size(wholePages(text.size() + 1))
{
    void* const memory = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    m_memory = static_cast<char*>(memory);
    std::memcpy(m_memory, text.c_str(), text.size() + 1);
    mprotect(m_memory, m_size, PROT_READ);
}

CReadOnlyText::~CReadOnlyText()
{
    munmap(m_memory, m_size);
}

void CReadOnlyText::withdraw()
{
    mprotect(m_memory, m_size, PROT_NONE);
}

obzx_objid* CArguments::identity(const std::string& name)
{
    obzx_objid& identity = m_identities.emplace_back();
    identity.name = m_texts.emplace_back(name).data();
    identity.size = static_cast<int32_t>(name.size() + 1);
    identity.type = OBZ_OBJID_TYPE_DEVICE;
    return &identity;
}

obz_domain* CArguments::node(const std::string& name)
{
    obz_domain& node = m_nodes.emplace_back();
    node.identity = identity(name);
    node.access = &m_access.emplace_back(0);
    node.name = node.identity->name;
    return &node;
}

obz_splitnode* CArguments::splitNode(const std::string& name)
{
    obz_splitnode& split = m_splitNodes.emplace_back();
    split.text = m_texts.emplace_back("split").data();
    split.node = node(name);
    return &split;
}

void* CArguments::memory(unsigned char byte)
{
    SMemory& memory = m_memory.emplace_back();
    std::memset(memory.data, byte, sizeof memory.data);
    return memory.data;
}

template <class T>
void* CArguments::reference(T* object)
{
    void* const place = memory(0);
    std::memcpy(place, &object, sizeof(void*));
    return place;
}

obz_msg_info* CArguments::message()
{
    auto* const message = static_cast<obz_msg_info*>(memory(0));
    message->catalog = m_texts.emplace_back(m_text).data();
    message->id = m_texts.emplace_back(m_text).data();
    message->file = m_texts.emplace_back(m_text).data();
    return message;
}

void* CArguments::input(EValue value)
{
    switch (value) {
        case EValue::TEXT:
            return m_texts.emplace_back(m_text).data();
        case EValue::TEXTS:
            return reference(m_texts.emplace_back(m_text).data());
        case EValue::NODE:
            return node(m_text + "-node");
        case EValue::NODES:
            return reference(node(m_text + "-node"));
        case EValue::SPLIT_NODE:
            return splitNode(m_text + "-node");
        case EValue::SPLIT_NODES:
            return reference(splitNode(m_text + "-node"));
        case EValue::IDENTITY:
            return identity(m_text + "-object");
        case EValue::IDENTITIES:
            return reference(identity(m_text + "-object"));
        case EValue::HOSTS:
            return reference(m_texts.emplace_back(m_text).data());  // a name, and no next one
        case EValue::MESSAGE:
            return message();
        default:
            return memory(0);
    }
}

void* CArguments::make(const SArgument& argument)
{
    if (argument.isOutput) return memory(CANARY);
    return input(argument.value);
}

CWords CArguments::of(const SFunction& function)
{
    CWords words;
    for (const SArgument& argument : function.arguments) {
        if (argument.isPointer()) {
            words.push_back(toWord(make(argument)));
        } else {
            words.push_back(argument.mustBeZero ? 0 : 1);
        }
    }
    return words;
}

std::string CArguments::leftOutputs(const SFunction& function, const CWords& words)
{
    std::string names;
    for (size_t i = 0; i < words.size(); ++i) {
        const auto* const bytes = fromWord<const unsigned char*>(words[i]);
        const size_t size = function.arguments[i].outputSize();
        const bool isLeft =
            bytes != nullptr && std::any_of(bytes, bytes + size, [](unsigned char byte) { return byte != 0; });
        if (isLeft) names += (names.empty() ? "" : ", ") + function.arguments[i].name;
    }
    return names;
}

}  // namespace fictl
