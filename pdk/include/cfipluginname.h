#pragma once

#include <ace/SString.h>

#include <string>

/// Keeps a class or object of the glue inside the provider's library, even where a build forgets -fvisibility=hidden:
/// two providers in one process carry the same names and must never be bound to each other's objects.
#define FI_PRIVATE __attribute__((visibility("hidden")))

/// Tag of the singletons that belong to the provider whose library this is.
struct FI_PRIVATE FI_PLUGIN_NAME
{
};

/// The provider's name in three forms. cfiapiexport.h defines them from FI_PROVIDER; they are there from the load of
/// the library to its unload.
FI_PRIVATE extern const ACE_String_Base<char> cfi_pgn_name_tstr;
FI_PRIVATE extern const std::wstring cfi_pgn_name_wstr;
FI_PRIVATE extern const std::string cfi_pgn_name_str;
