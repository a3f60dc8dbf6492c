#pragma once

#include "host/src/output/error.h"
#include "host/src/output/result.h"

namespace fictl {

/**
 * What a run of fictl says, in the form that the user asked for. As JSON standard output gets exactly one document,
 * whatever the exit code; messages for people go to standard error in both forms.
 */
class CAnswer
{
  public:
    enum class EForm
    {
        TABLE,
        JSON
    };

    explicit CAnswer(EForm form) : m_form(form) {}

    /// What was to be written to standard output.
    const std::string& written() const { return m_written; }

    /// Each writes and returns the exit code of the process; none throws.
    int done(const SResult& result);
    int failed(const EFictl& error);

  private:
    EForm m_form;
    std::string m_written;
};

}  // namespace fictl
