#pragma once

#include <initializer_list>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

namespace fictl {

/// A document that is refused; says why.
class EStrictJson : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
    ~EStrictJson() override;
    EStrictJson(const EStrictJson&) = default;
    EStrictJson& operator=(const EStrictJson&) = default;
};

/// Reads JSON that somebody may have changed: no key may stand twice, and nothing may be nested deeper than that.
/// Throws EStrictJson.
nlohmann::json parseStrictly(std::string_view text, int deepest);

/// Throws EStrictJson unless it is an object with exactly these keys; what names it in the reason.
void requireKeys(const nlohmann::json& object, std::initializer_list<const char*> keys, const std::string& what);

}  // namespace fictl
