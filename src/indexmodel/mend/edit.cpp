#include "mend/edit.h"

#include "mend/durable_p.h"
#include "mend/salvage.h"

#include <indexuser/servicerecords.h>
#include <inspect/userdifferences.h>

#include <format/userdocument.h>
#include <platform/filenames.h>

#include <QDir>
#include <QElapsedTimer>
#include <QThread>

#include <atomic>

namespace mend {

namespace {

constexpr int c_nSaveTimeoutMs = 30000;

// The tree of a large file is not kept beside that of the service.
KW::UserRecords readFor(Edit& edit, CTransaction& transaction, EditFailure failure)
{
    const inspect::UserFile file = inspect::userFileOf(transaction.read());
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

// Before the live file goes, the name of the copy that takes its place has to be durable, and so
// has that of the copy's directory. Where it cannot be made, no copy is written and no file goes.
WriteFailure keepBefore(CTransaction& transaction)
{
    makeDurableDirectory(QDir(transaction.configDir()).filePath(KW::c_szCopiesFolder));
    return transaction.keep();
}

// What a guard has answered, for as long as a save may ask it.
struct Answers {
    std::atomic<WriteFailure> failure { WriteFailure::None };
    std::atomic<bool> bExpected { false };
};

WriteFailure answerOf(CTransaction& transaction, Answers& answers, const std::string& content)
{
    if (!transaction.isAsRead()) {
        return WriteFailure::Changed;
    }
    // All that a save writes is one text.
    answers.bExpected
        = answers.bExpected || transaction.expect(digestOf(QByteArray::fromStdString(content)));
    return answers.bExpected ? WriteFailure::None : WriteFailure::NoHistory;
}

// The service takes them from a text, as it takes a file, and hands the sections of others on; what
// a load would add to goes before.
QString hold(const Changer& changer, const KW::UserRecords& records)
{
    const KW::UserDocumentText text = salvagedText(records);
    changer.service.setParamSettingForClient({});
    *changer.service.getLayoutConfig() = KW::CPanelGroupLayoutConfig();
    changer.serve(QByteArray::fromStdString(text.strUtf8));
    changer.service.loadSettings();
    return text.cut.value(0);
}

// Makes the change; what the service and other managers hold then.
KW::UserRecords changed(const Changer& changer, Edit& edit)
{
    QVector<KW::ElementTree> sections = edit.before.sections;
    if (changer.records) {
        const KW::UserRecords wanted = changer.records(edit.before);
        edit.strCut = hold(changer, wanted);
        sections = wanted.sections;
    } else {
        changer.change(changer.service);
    }
    return KW::recordsOf(changer.service, sections);
}

// Keeps the state before, saves, and answers the save's questions.
bool writeEdit(CTransaction& transaction, const Changer& changer, Edit& edit)
{
    edit.write = keepBefore(transaction);
    if (edit.write != WriteFailure::None) {
        edit.failure = EditFailure::NotWritten;
        return false;
    }
    Answers answers;
    changer.guard([&](const std::string& content) {
        answers.failure = answerOf(transaction, answers, content);
        return answers.failure == WriteFailure::None;
    });
    const bool bEnded = saveAndWait(changer.service);
    changer.guard({});
    edit.write = answers.failure;
    if (edit.write != WriteFailure::None) {
        transaction.abandon();
    }
    edit.failure = edit.write != WriteFailure::None ? EditFailure::NotWritten
        : bEnded                                    ? EditFailure::None
                                                    : EditFailure::NotEnded;
    return edit.failure == EditFailure::None;
}

} // namespace

Edit prepareEdit(CTransaction& transaction, const Changer& changer)
{
    Edit edit;
    edit.before = readFor(edit, transaction, EditFailure::NotWhole);
    if (edit.failure != EditFailure::None) {
        return edit;
    }
    changer.serve(transaction.bytes());
    changer.service.loadSettings();
    // Defaults, saved, would take the place of all that the user has.
    if (!(KW::recordsOf(changer.service, edit.before.sections) == edit.before)) {
        edit.failure = EditFailure::NotLoaded;
        return edit;
    }
    const KW::UserRecords made = changed(changer, edit);
    edit.strCut = edit.strCut.isEmpty() ? firstCut(made) : edit.strCut;
    edit.failure = edit.strCut.isEmpty() ? EditFailure::None : EditFailure::TooDeep;
    edit.expected = KW::savedForm(made);
    return edit;
}

bool saveEdit(CTransaction& transaction, const Changer& changer, Edit& edit)
{
    if (!writeEdit(transaction, changer, edit)) {
        return false;
    }
    const KW::UserRecords found = readFor(edit, transaction, EditFailure::NotSaved);
    if (edit.failure != EditFailure::None) {
        return false;
    }
    if (!(edit.expected == found)) {
        const auto differences = inspect::differences(edit.expected, found);
        edit.failure = EditFailure::OtherSaved;
        edit.difference
            = differences.isEmpty() ? std::nullopt : std::make_optional(differences.first());
        edit.strKept = transaction.keepFound();
        if (!edit.strKept.isEmpty()) {
            transaction.finish(); // so that it can be undone
        }
        return false;
    }
    edit.receipt = transaction.finish();
    return true;
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
