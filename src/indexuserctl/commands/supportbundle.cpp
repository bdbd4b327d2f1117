#include "commands/archive.h"
#include "commands/check.h"
#include "commands/report.h"
#include "commands/snapshot.h"
#include "failure.h"
#include "terminal/answer.h"
#include "terminal/output.h"
#include "terminal/progress.h"

#include <inspect/belongings.h>
#include <inspect/secretmask.h>

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <functional>

namespace {

using inspect::TextKind;

// One file of the bundle, and what became of it.
struct Member {
    QString strName;
    QByteArray bytes = {};
    QDateTime time = {};
    int nPlaces = 0;
    QString strWhy = {}; ///< why it is left out; empty where it is not
};

// Beside the user's own there may be the client's log and patches; what else is there is nobody's
// business.
QStringList filesOf(const Request& request)
{
    const QDir directory(request.strConfigDir);
    QStringList files = inspect::belongings(request.strConfigDir);
    const auto others = directory.entryList({ "*.log", "*.log.*", "*.json" }, QDir::Files);
    for (const QString& name : others) {
        files.append(directory.filePath(name));
    }
    files.removeDuplicates();
    files.erase(std::remove_if(files.begin(), files.end(),
                               [](const QString& file) {
                                   const QFileInfo info(file);
                                   return info.isDir() && !info.isSymLink();
                               }),
                files.end());
    files.sort();
    return files;
}

TextKind kindOf(const QString& name)
{
    if (name.endsWith(QLatin1String(".jsonl"))) {
        return TextKind::JsonLines;
    }
    const bool bLog = name.endsWith(QLatin1String(".log")) || name.contains(QLatin1String(".log."));
    return bLog ? TextKind::Log : TextKind::Document;
}

// A link may lead to what is not the user's; that of the live file itself is followed everywhere.
inspect::FileBytes bytesOf(const Request& request, const QString& path)
{
    const QString strLive = inspect::livePath(request.strConfigDir);
    if (QFileInfo(path).isSymLink() && path != strLive) {
        return { inspect::FileState::Unreadable,
                 {},
                 { inspect::FileCause::NotRegular, path, {}, {} } };
    }
    return path == strLive ? inspect::readSavedBytes(path) : inspect::readBytes(path);
}

void mask(Member& member, const inspect::CSecretMask& secrets, TextKind kind)
{
    const inspect::MaskedText text = secrets.masked(member.bytes, kind);
    member.bytes = text.bytes;
    member.nPlaces = text.nPlaces;
    member.strWhy = text.strDoubt;
}

Member userMember(const Request& request, const QString& path, const inspect::CSecretMask& secrets)
{
    const inspect::FileBytes file = bytesOf(request, path);
    const QString strName
        = QDir(request.strConfigDir).relativeFilePath(QFileInfo(path).absoluteFilePath());
    Member member { "user/" + strName, file.bytes, QFileInfo(path).lastModified() };
    if (file.state == inspect::FileState::Whole) {
        mask(member, secrets, kindOf(strName));
    } else {
        member.strWhy = toText(file.error);
    }
    return member;
}

Member answerMember(const QString& name, const std::function<QByteArray()>& answer,
                    const inspect::CSecretMask& secrets)
{
    Member member { name, {}, QDateTime::currentDateTime() };
    try {
        member.bytes = answer();
        mask(member, secrets, TextKind::Answer);
    } catch (const CFailure& failure) {
        member.strWhy = failure.message();
    }
    return member;
}

QByteArray jsonOf(const Table& table, const QString& command)
{
    CAnswer answer({ Format::Json, command });
    answer.add(table);
    answer.end(ExitStatus::Ok);
    return answer.toJson();
}

// Values of all files are looked for in each: what is an old copy's may stand in a log.
inspect::CSecretMask secretsOf(const Request& request, const QStringList& files)
{
    inspect::CSecretMask secrets;
    for (const QString& path : files) {
        secrets.learn(bytesOf(request, path).bytes);
    }
    return secrets;
}

QString stateOf(const Member& member)
{
    if (!member.strWhy.isEmpty()) {
        return QStringLiteral("left out");
    }
    return member.nPlaces > 0 ? QStringLiteral("masked") : QStringLiteral("as it is");
}

// Puts files into the archive and notes what became of each.
class CBundle {
public:
    explicit CBundle(inspect::CSecretMask secrets)
        : m_secrets(std::move(secrets))
    {
    }

    const inspect::CSecretMask& secrets() const { return m_secrets; }

    void add(const Member& member)
    {
        const QString strName = m_secrets.masked(member.strName);
        if (member.strWhy.isEmpty()) {
            m_archive.add(strName, member.bytes, member.time);
        } else {
            m_bAll = false;
        }
        m_table.rows.append({ strName, stateOf(member), member.bytes.size(), member.nPlaces,
                              m_secrets.masked(member.strWhy) });
    }

    QByteArray packed(const QString& command)
    {
        m_archive.add(QStringLiteral("contents.json"), jsonOf(m_table, command),
                      QDateTime::currentDateTime());
        return m_archive.packed();
    }

    const Table& table() const { return m_table; }
    bool hasAll() const { return m_bAll; }

private:
    inspect::CSecretMask m_secrets;
    CArchive m_archive { QStringLiteral("indexuser-support") };
    Table m_table { "bundle", "Bundle", { "file", "state", "bytes", "masked", "why" } };
    bool m_bAll = true;
};

void addAnswers(const Request& request, CBundle& bundle)
{
    bundle.add(answerMember(
        QStringLiteral("check.json"), [&] { return checkAnswer(request); }, bundle.secrets()));
    bundle.add(answerMember(
        QStringLiteral("report.html"), [&] { return reportPage(request); }, bundle.secrets()));
    bundle.add(answerMember(
        QStringLiteral("snapshots.json"),
        [&] { return jsonOf(snapshotTable(request), QStringLiteral("snapshot list")); },
        bundle.secrets()));
}

QStringList requireFiles(const Request& request)
{
    const QStringList files = filesOf(request);
    if (files.isEmpty()) {
        throw CFailure(ExitStatus::InputOutput,
                       request.strConfigDir + ": there is nothing of a user's",
                       { request.strConfigDir });
    }
    return files;
}

} // namespace

ExitStatus supportBundle(const Request& request)
{
    const bool bStream = request.strOut == QLatin1String("-");
    if (!bStream) {
        requireNothingOfTheUser(request.strConfigDir, request.strOut);
    }
    const QStringList files = requireFiles(request);
    CBundle bundle(secretsOf(request, files));
    addAnswers(request, bundle);
    CProgress progress(files.size());
    for (const QString& path : files) {
        bundle.add(userMember(request, path, bundle.secrets()));
        progress.advance();
    }
    writeFile(request, request.strOut, bundle.packed(QStringLiteral("support-bundle")),
              Readers::OwnerOnly);
    if (!bStream) {
        print({ bundle.table() }, request.format);
    }
    return bundle.hasAll() ? ExitStatus::Ok : ExitStatus::Negative;
}
