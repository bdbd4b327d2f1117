#include "commands/bringback.h"
#include "commands/edit.h"
#include "commands/shownuser.h"
#include "commands/wholefile.h"
#include "failure.h"
#include "terminal/output.h"

#include <inspect/bundle.h>
#include <inspect/check.h>
#include <inspect/closest.h>

#include <format/userdocument.h>
#include <mend/candidates.h>
#include <mend/salvage.h>

#include <QDir>

#include <algorithm>

namespace {

using inspect::Parts;

KW::UserPart partOf(const QString& name)
{
    const Parts all = inspect::everyPart();
    const auto it = std::find_if(all.begin(), all.end(),
                                 [&](KW::UserPart part) { return KW::partName(part) == name; });
    if (it == all.end()) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("--parts: there is no part '%1'%2; parts are %3")
                           .arg(name, inspect::didYouMean(name, shownParts()),
                                shownParts().join(QStringLiteral(", "))));
    }
    return *it;
}

Parts wantedParts(const Request& request)
{
    if (!request.parts) {
        return inspect::everyPart();
    }
    Parts parts;
    const QStringList names = request.parts->split(',');
    for (const QString& name : names) {
        parts.append(partOf(name));
    }
    return parts;
}

Table partsTable(const QDomDocument& bundle, const Parts& parts)
{
    Table table { "parts", "Bundle", { "part", "section", "elements" } };
    for (const inspect::BundledSection& each : inspect::sectionsIn(bundle, parts)) {
        table.rows.append({ KW::partName(each.part), each.strName, each.nElements });
    }
    return table;
}

// A part that somebody has asked for by its name, or any at all.
void requireParts(const Request& request, const QString& path, const QDomDocument& bundle)
{
    Parts there;
    for (const inspect::BundledSection& each : inspect::sectionsIn(bundle, inspect::everyPart())) {
        there.append(each.part);
    }
    if (there.isEmpty()) {
        throw CFailure(ExitStatus::Damaged, path + ": no part of a user is in it", { path });
    }
    for (const KW::UserPart part : wantedParts(request)) {
        if (request.parts && !there.contains(part)) {
            throw CFailure(ExitStatus::Negative,
                           path + ": there are no " + KW::partName(part) + " in it", { path });
        }
    }
}

// Sections may be missing, but what is there is what it says.
bool isReadOtherwise(const inspect::Finding& finding)
{
    using inspect::Effect;
    return (finding.effect == Effect::Changed || finding.effect == Effect::Merged)
        && finding.strRule != QLatin1String("missing-section");
}

// What nobody reads, a comment or another program's section, is only told.
void requireReadAsWritten(const Request& request, const inspect::UserFile& file,
                          const QString& path)
{
    const auto findings = inspect::check(file).findings;
    const auto nDropped = std::count_if(findings.begin(), findings.end(), [](const auto& each) {
        return each.effect == inspect::Effect::Dropped;
    });
    if (nDropped > 0) {
        printError(QStringLiteral("%1: %2 of what is in it nobody reads; 'check FILE' names it")
                       .arg(path)
                       .arg(nDropped));
    }
    const auto it = std::find_if(findings.begin(), findings.end(), isReadOtherwise);
    if (it != findings.end() && !request.isForced()) {
        const int nLine = it->position.nLine;
        throw CFailure(ExitStatus::Damaged,
                       QStringLiteral("%1:%2: %3; --force takes what is read of it")
                           .arg(path, QString::number(nLine), it->strText),
                       { path, nLine });
    }
}

// Who has something to come back from is not new.
bool isNew(const Request& request)
{
    const QString strLive = inspect::livePath(request.strConfigDir);
    return QDir(request.strConfigDir).exists()
        && inspect::readSavedBytes(strLive).state == inspect::FileState::Missing
        && !mend::newestWhole(mend::candidates(request.strConfigDir));
}

// What the bundle does not have is as a client begins with it.
ExitStatus makeUser(const Request& request, const QDomDocument& bundle, const Parts& parts)
{
    const KW::UserRecords none;
    const KW::UserRecords records = inspect::withBundle(none, bundle, parts);
    requireSensible(request, none, records);
    const mend::Restoration restoration { QByteArray::fromStdString(
        mend::salvagedText(records).strUtf8) };
    return bringBack(request, restoration, QStringLiteral("what is in the bundle"),
                     { partsTable(bundle, parts) });
}

} // namespace

ExitStatus exportBundle(const Request& request)
{
    const Parts parts = wantedParts(request);
    QDomDocument bundle = inspect::bundleOf(inspect::recordsOf(liveFile(request).document), parts);
    writeFile(request, request.strOut,
              QByteArray::fromStdString(KW::userDocumentText(bundle).strUtf8));
    if (request.strOut != QLatin1String("-")) {
        print({ partsTable(bundle, parts) }, request.format);
    }
    return ExitStatus::Ok;
}

ExitStatus importBundle(const Request& request)
{
    const Parts parts = wantedParts(request);
    const QString strPath = inputPath(request.words.first());
    const inspect::UserFile file = wholeFile(strPath);
    requireParts(request, strPath, file.document);
    requireReadAsWritten(request, file, strPath);
    if (isNew(request)) {
        return makeUser(request, file.document, parts);
    }
    return editRecords(request, [&](const KW::UserRecords& before) {
        print({ partsTable(file.document, parts) }, request.format);
        return inspect::withBundle(before, file.document, parts);
    });
}
