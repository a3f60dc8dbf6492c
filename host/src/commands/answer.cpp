#include "host/src/commands/answer.h"

#include <nlohmann/json.hpp>

#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/record_json.h"
#include "host/src/output/error_text.h"
#include "host/src/output/progress.h"

namespace fictl {

namespace {

json recordOf(const std::string& name)
{
    try {
        return snapshotJson(CCatalogReader().get(name));
    } catch (const EFictl&) {
        return nullptr;
    }
}

}  // namespace

int CAnswer::done(const SResult& result)
{
    try {
        m_written = m_form == EForm::JSON ? documentText(result.document ? *result.document : json()) : result.text;
        const bool isRead = writeOutput(m_written);
        if (!isRead && result.isDelivery) {
            throw EFictl(EExit::IO, "standard output: its reader went away before it had all of the document",
                         "run the command again with a reader that takes all of it, or with --file");
        }
        return static_cast<int>(result.exit);
    } catch (const EFictl& error) {
        // Standard output has failed, so there is no place for a document.
        CProgress::write(errorText(error));
        return static_cast<int>(error.exit());
    }
}

int CAnswer::failed(const EFictl& error)
{
    CProgress::write(errorText(error));
    if (m_form == EForm::TABLE) return static_cast<int>(error.exit());
    json document = {{"error", errorJson(error)}};
    if (!error.snapshot().empty()) document["snapshot"] = recordOf(error.snapshot());
    try {
        m_written = documentText(std::move(document));
        writeOutput(m_written);
    } catch (const EFictl& output) {
        // The first error is the one that counts; its text is on standard error.
        CProgress::write(errorText(output));
    }
    return static_cast<int>(error.exit());
}

}  // namespace fictl
