#include "mend/edit.h"

#include <indexuser/servicerecords.h>
#include <inspect/userdifferences.h>

#include <format/userdocument.h>

#include <QElapsedTimer>
#include <QThread>

namespace mend {

namespace {

constexpr int c_nSaveTimeoutMs = 30000;

// The tree of a large file is not kept beside that of the service.
KW::UserRecords readFor(Edit& edit, const QString& configDir, EditFailure failure)
{
    const inspect::UserFile file = inspect::readUserFile(inspect::livePath(configDir));
    edit.state = file.state;
    edit.error = file.error;
    edit.failure = file.state == inspect::FileState::Whole ? EditFailure::None : failure;
    return KW::recordsOf(file.document);
}

// A window stands deeper in a template than in the layout; a save would cut what gets too deep.
// Nothing else that can be changed has any depth.
QString firstCut(const KW::UserRecords& changed)
{
    KW::UserRecords layouts;
    layouts.layouts = changed.layouts;
    QDomDocument doc = KW::documentOf(layouts);
    return KW::userDocumentText(doc).cut.value(0);
}

} // namespace

Edit prepareEdit(const QString& configDir, KW::UserConfigInterface& service, const Change& change)
{
    Edit edit;
    edit.before = readFor(edit, configDir, EditFailure::NotWhole);
    if (edit.failure != EditFailure::None) {
        return edit;
    }
    service.loadSettings();
    // The service reads the file for itself, and goes on with defaults when it cannot: saved, they
    // would take the place of all that the user has.
    if (!(KW::recordsOf(service, edit.before.sections) == edit.before)) {
        edit.failure = EditFailure::NotLoaded;
        return edit;
    }
    change(service);
    const KW::UserRecords changed = KW::recordsOf(service, edit.before.sections);
    edit.strCut = firstCut(changed);
    edit.failure = edit.strCut.isEmpty() ? EditFailure::None : EditFailure::TooDeep;
    edit.expected = KW::savedForm(changed);
    return edit;
}

bool saveEdit(const QString& configDir, KW::UserConfigInterface& service, Edit& edit)
{
    if (!saveAndWait(service)) {
        edit.failure = EditFailure::NotEnded;
        return false;
    }
    const KW::UserRecords found = readFor(edit, configDir, EditFailure::NotSaved);
    if (edit.failure != EditFailure::None) {
        return false;
    }
    if (!(edit.expected == found)) {
        const auto differences = inspect::differences(edit.expected, found);
        edit.failure = EditFailure::OtherSaved;
        edit.difference
            = differences.isEmpty() ? std::nullopt : std::make_optional(differences.first());
    }
    return edit.failure == EditFailure::None;
}

bool saveAndWait(KW::UserConfigInterface& service)
{
    QElapsedTimer timer;
    timer.start();
    service.saveSettings();
    while (!service.getSaveSuccess() && !timer.hasExpired(c_nSaveTimeoutMs)) {
        QThread::msleep(1);
    }
    return service.getSaveSuccess();
}

} // namespace mend
