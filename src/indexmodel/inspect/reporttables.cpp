#include "inspect/report_p.h"
#include "inspect/scene_p.h"

#include "inspect/entries_p.h"
#include "inspect/optionvalues.h"
#include "inspect/userdifferences.h"

#include <algorithm>

namespace inspect {

namespace {

using Options = KW::paramSettingForClient;

struct ShownOption {
    QStringList cells;
    QString strAbout;
    bool bDefault = true;
    bool bChanged = false; ///< since before
};

QString shownValue(const Options& options, const KW::OptionRow& row)
{
    const QString strText = optionText(options, row);
    return isSecret(row.strAttribute) && !strText.isEmpty() ? QStringLiteral("(hidden)") : strText;
}

QVector<ShownOption> shownOptions(const ReportUser& user)
{
    const Options defaults;
    QVector<ShownOption> options;
    for (const KW::OptionRow& row : KW::optionTable()) {
        const QString strValue = optionText(user.records.options, row);
        ShownOption option;
        option.cells = QStringList { row.strAttribute, shownValue(user.records.options, row),
                                     shownValue(defaults, row) };
        option.strAbout = KW::optionDescription(row);
        option.bDefault = strValue == optionText(defaults, row);
        if (user.facts.before) {
            const Options& before = user.facts.before->records.options;
            option.bChanged = strValue != optionText(before, row);
            option.cells.insert(2, shownValue(before, row));
        }
        options.append(option);
    }
    return options;
}

// Its name, and beneath it what it is.
void writeOption(CHtmlWriter& page, const ShownOption& option, const QStringList& headings)
{
    const CHtmlWriter::Attributes changed { { "class", QStringLiteral("changed") } };
    page.begin("tr", option.bChanged ? changed : CHtmlWriter::Attributes());
    page.begin("th", { { "scope", QStringLiteral("row") } });
    page.text(option.cells.first() + ' ');
    page.element("small", option.strAbout);
    page.end();
    for (int i = 1; i < option.cells.size(); ++i) {
        page.element("td", option.cells[i], { { "data-label", headings[i] } });
    }
    page.end();
}

template <typename Wanted>
void writeOptionTable(CHtmlWriter& page, const ReportUser& user, const QString& name, Wanted wanted)
{
    QStringList headings { "option", "value", "default" };
    if (user.facts.before) {
        headings.insert(2, QStringLiteral("before"));
    }
    page.beginTable(name, headings, "options");
    const auto options = shownOptions(user);
    for (const ShownOption& option : options) {
        if (wanted(option)) {
            writeOption(page, option, headings);
        }
    }
    page.endTable();
}

template <typename Wanted>
void writeDifferences(CHtmlWriter& page, const ReportUser& user, const QString& name, Wanted wanted)
{
    if (std::none_of(user.differences.begin(), user.differences.end(), wanted)) {
        return;
    }
    const QStringList headings { "value", "before", "now" };
    page.beginTable(name, headings, "changes");
    for (const Difference& each : user.differences) {
        if (wanted(each)) {
            const QString strNone = QStringLiteral("(absent)");
            page.row(headings,
                     { pathOf(each), each.left.value_or(strNone), each.right.value_or(strNone) },
                     { { "class", QStringLiteral("changed") } });
        }
    }
    page.endTable();
}

} // namespace

int changedOptions(const UserRecords& records)
{
    const Options defaults;
    return static_cast<int>(std::count_if(
        KW::optionTable().begin(), KW::optionTable().end(), [&](const KW::OptionRow& row) {
            return optionText(records.options, row) != optionText(defaults, row);
        }));
}

void writeFindings(CHtmlWriter& page, const ReportUser& user)
{
    if (!user.checked.strFailure.isEmpty()) {
        page.element("p", user.checked.strFailure, { { "class", QStringLiteral("amiss") } });
    }
    if (user.checked.findings.isEmpty()) {
        page.element("p", QStringLiteral("Nothing that the next load and save would not keep."),
                     { { "class", QStringLiteral("none") } });
        return;
    }
    page.element("p", QStringLiteral("What the next load and save would not keep as it is."));
    const QStringList headings { "place", "effect", "rule", "what" };
    page.beginTable(QStringLiteral("Findings"), headings, "findings");
    for (const Finding& finding : user.checked.findings) {
        const TextPosition& at = finding.position;
        page.row(headings,
                 { at.nLine > 0 ? QStringLiteral("%1:%2").arg(at.nLine).arg(at.nColumn) : QString(),
                   effectName(finding.effect), finding.strRule, finding.strText });
    }
    page.endTable();
}

void writeOptions(CHtmlWriter& page, const ReportUser& user)
{
    const auto options = shownOptions(user);
    const auto countOf = [&](auto wanted) {
        return static_cast<int>(std::count_if(options.begin(), options.end(), wanted));
    };
    const auto isChanged = [](const ShownOption& option) { return option.bChanged; };
    const auto isOwn
        = [](const ShownOption& option) { return !option.bChanged && !option.bDefault; };
    const auto isRest
        = [](const ShownOption& option) { return !option.bChanged && option.bDefault; };
    if (user.facts.before && countOf(isChanged) > 0) {
        page.element("h3", QStringLiteral("Changed"));
        writeOptionTable(page, user, QStringLiteral("Changed options"), isChanged);
    }
    if (countOf(isOwn) > 0) {
        page.element("h3", QStringLiteral("Not the default"));
        writeOptionTable(page, user, QStringLiteral("Options that are not the default"), isOwn);
    }
    beginFold(page, QStringLiteral("options-default"), QStringLiteral("The default"),
              counted(countOf(isRest), "option", "options"), Fold::Closed);
    writeOptionTable(page, user, QStringLiteral("Options at their default"), isRest);
    page.end();
}

void writeOrders(CHtmlWriter& page, const ReportUser& user, KW::UserPart part)
{
    writeDifferences(
        page, user, QStringLiteral("What stands in another order"),
        [part](const Difference& each) { return each.part == part && each.strField == c_szOrder; });
}

void writeSections(CHtmlWriter& page, const ReportUser& user)
{
    // Compared by their elements.
    writeDifferences(page, user, QStringLiteral("What changed"),
                     [](const Difference& each) { return each.part == KW::UserPart::Sections; });
    if (user.records.sections.isEmpty()) {
        writeNone(page);
        return;
    }
    const QStringList headings { "section", "elements", "reader" };
    page.beginTable(QStringLiteral("Sections"), headings);
    for (const KW::ElementTree& section : user.records.sections) {
        page.row(headings,
                 { section.strName, QString::number(KW::elementCount(section)),
                   KW::findSection(section.strName) != nullptr
                       ? QStringLiteral("its manager")
                       : QStringLiteral("read by nobody") });
    }
    page.endTable();
}

void writeCopies(CHtmlWriter& page, const ReportUser& user)
{
    if (user.copies.isEmpty()) {
        writeNone(page);
        return;
    }
    const QStringList headings { "date", "bytes", "changed since" };
    page.beginTable(QStringLiteral("Dated copies"), headings);
    for (const Snapshot& copy : user.copies) {
        const UserFile file = readUserFile(copy.strPath);
        page.row(headings,
                 { copy.date.toString(Qt::ISODate), QString::number(copy.nBytes),
                   file.state == FileState::Whole
                       ? summary(inspect::differences(recordsOf(file.document), user.records))
                       : toText(file.error) });
    }
    page.endTable();
}

void writeHistory(CHtmlWriter& page, const ReportUser& user)
{
    if (user.facts.edits.isEmpty()) {
        writeNone(page);
        return;
    }
    const QStringList headings { "edit", "time", "account", "command" };
    page.beginTable(QStringLiteral("Edits, the last one first"), headings);
    for (auto it = user.facts.edits.rbegin(); it != user.facts.edits.rend(); ++it) {
        page.row(
            headings,
            { QString::number(it->nNumber), momentText(it->time), it->strAccount, it->strCommand });
    }
    page.endTable();
}

} // namespace inspect
