#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "framework/include/cfifim.h"
#include "framework/include/obzx_runtime.h"
#include "pdk/include/cfipluginname.h"

namespace obzx_pdk_4_4 {

/**
 * Builds a list of the host's records from items. The list is handed out when the builder is destroyed, also by an
 * exception, so that a caller always gets what was built so far. One thread.
 *
 * ListRecord is a plain record whose last field is its link, next.
 */
template <class ListRecord, class Item>
class FI_PRIVATE CFiList
{
  public:
    /// @param out receives the list, null for an empty one; with a null out the list stays with whoever asks getHead()
    /// @param count goes up by one for each record appended; may be null
    explicit CFiList(ListRecord** out, int32_t* count = nullptr) : m_out(out), m_count(count) {}
    CFiList(const CFiList&) = delete;
    CFiList& operator=(const CFiList&) = delete;

    virtual ~CFiList()
    {
        if (m_out != nullptr) *m_out = m_head;
    }

    /// Appends a record for the item; nothing when none could be made.
    void append(const Item& item)
    {
        ListRecord* const element = allocateListElement(item);
        if (element == nullptr) return;
        element->next = nullptr;
        ListRecord** link = &m_head;
        while (*link != nullptr) {
            link = &(*link)->next;
        }
        *link = element;
        if (m_count != nullptr) ++*m_count;
    }

    ListRecord* getHead() const { return m_head; }  ///< of what was built so far

  protected:
    /// A new record; null when there is no memory for it.
    virtual ListRecord* allocateListElement(const Item& item) = 0;

  private:
    ListRecord* m_head = nullptr;
    ListRecord** m_out;
    int32_t* m_count;
};

/// Builds descriptions of the provider; freed with obzx_free_provider_list.
class FI_PRIVATE CFiProviderInfoListFactory : public CFiList<obz_provider_list, CFiProviderInfo>
{
  public:
    CFiProviderInfoListFactory(obz_provider_list** out, std::string providerName, int32_t* count = nullptr)
        : CFiList(out, count), m_providerName(std::move(providerName))
    {
    }

  protected:
    obz_provider_list* allocateListElement(const CFiProviderInfo& item) override
    {
        std::vector<const char*> attributes;
        for (const std::string& attribute : item.m_attributes) {
            attributes.push_back(attribute.c_str());
        }
        return obzx_build_providerlist_node(m_providerName.c_str(), item.m_kind, item.m_level, m_version.data(),
                                            attributes.data(), static_cast<int32_t>(attributes.size()));
    }

  private:
    std::array<uint16_t, 4> m_version{7, 0, 0, 0};
    std::string m_providerName;
};

/// Builds the list of the snapshot methods of a provider; freed with obzx_free_fim_list.
class FI_PRIVATE CFiFimListFactory : public CFiList<obz_fim_list, CFiFim>
{
  public:
    CFiFimListFactory(obz_fim_list** out, std::string providerName, int32_t* count = nullptr)
        : CFiList(out, count), m_providerName(std::move(providerName))
    {
    }

  protected:
    obz_fim_list* allocateListElement(const CFiFim& item) override
    {
        return obzx_build_fim_list_node(item.m_name.c_str(), item.m_version.c_str(), m_providerName.c_str());
    }

  private:
    std::string m_providerName;
};

}  // namespace obzx_pdk_4_4
