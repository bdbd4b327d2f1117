#include "many/manyusers.h"

#include "commandtable.h"
#include "failure.h"
#include "many/pages.h"
#include "many/resumefile.h"
#include "many/userlist.h"
#include "terminal/answer.h"
#include "terminal/progress.h"
#include "terminal/screen.h"

#include <inspect/userfile.h>

#include <QFileInfo>
#include <QHash>
#include <QThread>

#include <algorithm>

namespace {

constexpr char c_szOut[] = "--out";

bool isOfFiles(const CommandLine& line)
{
    return !line.request.isForMany() && line.form.bLines && line.pCommand != nullptr
        && line.pCommand->words == QStringList("[FILE...]") && !line.request.words.isEmpty();
}

[[noreturn]] void refuse(const QString& why)
{
    throw CFailure(ExitStatus::Usage, why);
}

int stopAfter(const Request& request)
{
    bool bNumber = true;
    const int nFailures = request.stopAfter ? request.stopAfter->toInt(&bNumber) : 0;
    if (!bNumber || (request.stopAfter && nFailures < 1)) {
        refuse(QStringLiteral("--stop-after: '%1' is no number from 1 on").arg(*request.stopAfter));
    }
    return nFailures;
}

// The files that each of them reads.
QStringList inputsOf(const CommandLine& line)
{
    const QStringList& words = line.pCommand->words;
    QStringList files;
    for (int i = 0; i < std::min(words.size(), line.request.words.size()); ++i) {
        if (words[i] == QLatin1String("FILE") || words[i] == QLatin1String("PATCH")) {
            files.append(line.request.words[i]);
        }
    }
    return line.request.valueFile ? files + QStringList(*line.request.valueFile) : files;
}

// Values are for the digest.
QString withoutValues(const QStringList& words)
{
    QStringList shown;
    for (const QString& word : words) {
        const int nValue = word.startsWith(QLatin1String("--")) ? -1 : word.indexOf('=');
        shown.append(nValue < 0 ? word : word.left(nValue) + QStringLiteral("=..."));
    }
    return shown.join(' ');
}

Resumed resumed(const CommandLine& line, const QStringList& words)
{
    QByteArray all = words.join(QChar(u'\0')).toUtf8();
    for (const QString& file : inputsOf(line)) {
        all += '\0' + inspect::readBytes(file).bytes; // a date is none
    }
    return { withoutValues(words), all };
}

// What can be given to one only: a file of his own, an output, standard input.
void requireForEach(const CommandLine& line)
{
    const Request& request = line.request;
    const QStringList& words = line.pCommand->words;
    const auto own = std::find_if(words.begin(), words.end(), [](const QString& word) {
        return word.startsWith(QLatin1String("[FILE"));
    });
    if (own != words.end() && request.words.size() > own - words.begin()) {
        refuse(QStringLiteral("%1: of many users it is each one's own file")
                   .arg(request.words[static_cast<int>(own - words.begin())]));
    }
    if (request.patchFile) {
        refuse(QStringLiteral("--patch: many users do not make one patch"));
    }
    for (const QString& file : inputsOf(line)) {
        if (file == QLatin1String("-") || (QFileInfo::exists(file) && !QFileInfo(file).isFile())) {
            refuse(file + ": many users cannot read it one after the other");
        }
    }
    if (line.pCommand->strName == QLatin1String("option set") && !request.valueFile
        && !request.words.first().contains('=')) {
        refuse(QStringLiteral("of many users no value is asked for: --from-file FILE has it"));
    }
    if (request.resumeFile && (request.resumeFile->isEmpty() || *request.resumeFile == "-")) {
        refuse(QStringLiteral("--resume: the name of a file is wanted"));
    }
    if (request.users && request.usersFile) {
        refuse(QStringLiteral("--users, --users-from: only one of them"));
    }
}

// The command line without what makes it one for many.
QStringList wordsForEach(const QStringList& words)
{
    return withoutOptions(words,
                          { "--users", "--users-from", "--resume", "--stop-after", "--config-dir",
                            "--json", "--jsonl" });
}

// For the case that nobody sees the answer.
QString doneText(const Heard& heard)
{
    return heard.strName
        + (heard.answer["receipt"].isObject() ? QStringLiteral(" was changed")
                                              : QStringLiteral(" stayed as it was"));
}

class CManyAnswers {
public:
    CManyAnswers(const CommandLine& line, const QStringList& words, AnswerWords answerOne);

    ExitStatus answer();

private:
    bool isOver() const { return m_nNext == m_names.size() || isStopped(); }
    bool isStopped() const { return m_nStopAfter > 0 && m_nFailures >= m_nStopAfter; }
    void skipDone(const QVector<UserAnswer>& done);
    QStringList wordsFor(const QString& name) const;
    void startNext();
    void run();
    QString underWay();
    void requireNoFailure(int left) const;
    void take(const Heard& heard);
    void keep(const UserAnswer& answer);
    void print(const Heard& heard) const;
    Heard whole(Heard heard) const;
    void finish();

    const CommandLine& m_line;
    QStringList m_words;
    bool m_bFiles;
    bool m_bPages;
    bool m_bWrites; ///< the user's own
    QStringList m_names;
    int m_nNext = 0;
    int m_nStopAfter;
    int m_nFailures = 0; ///< of this call
    std::optional<CResumeFile> m_resume;
    CUserCounts m_counts;
    QVector<UserAnswer> m_pages; ///< only where there is an index
    Table m_failed { "failed", {}, { "user", "status", "error" } }; ///< only for JSON
    std::optional<CProgress> m_progress;
    CChildren m_children; ///< waited for before anything else goes
};

CManyAnswers::CManyAnswers(const CommandLine& line, const QStringList& words, AnswerWords answerOne)
    : m_line(line)
    , m_words(wordsForEach(words))
    , m_bFiles(isOfFiles(line))
    , m_bPages(!m_bFiles && line.pCommand->options.contains(c_szOut))
    , m_bWrites(!m_bPages && line.pCommand->options.contains(QStringLiteral("--dry-run")))
    , m_names(m_bFiles ? line.request.words : usersOf(line.request))
    , m_nStopAfter(stopAfter(line.request))
    , m_children(answerOne, m_bFiles ? CChildren::Input::Shared : CChildren::Input::None)
{
    if (m_bPages) {
        makePages(line.request);
    }
    if (line.request.resumeFile) {
        requireNothingOfTheUser(line.request.strConfigDir, *line.request.resumeFile);
        m_resume.emplace(*line.request.resumeFile, resumed(line, m_words));
        skipDone(m_resume->takeDone());
    }
    m_progress.emplace(m_names.size());
    if (isScreen()) {
        qputenv("COLUMNS", QByteArray::number(screenWidth())); // they print to none
    }
}

// Failed ones come last: whatever stops at a failure gets on.
void CManyAnswers::skipDone(const QVector<UserAnswer>& done)
{
    QHash<QString, UserAnswer> answers;
    for (const UserAnswer& each : done) {
        answers.insert(each.strUser, each);
    }
    QStringList left;
    QStringList failed;
    for (const QString& name : qAsConst(m_names)) {
        const auto it = answers.constFind(name);
        if (it == answers.constEnd()) {
            left.append(name);
        } else if (it->isFailed() || (m_bPages && !QFileInfo::exists(it->strPage))) {
            failed.append(name);
        } else {
            keep(*it);
        }
    }
    m_names = left + failed;
}

QStringList CManyAnswers::wordsFor(const QString& name) const
{
    const QStringList json
        = m_line.form.format == Format::Json ? QStringList("--json") : QStringList();
    if (m_bFiles) {
        return QStringList("--config-dir=" + m_line.request.strConfigDir)
            + m_line.pCommand->strName.split(' ') + json + QStringList { "--", name };
    }
    QStringList words = m_bPages ? withoutOptions(m_words, { c_szOut }) : m_words;
    const int nEnd = words.indexOf(QStringLiteral("--"));
    const QStringList own = m_bPages
        ? json + QStringList(QString(c_szOut) + '=' + pagePath(m_line.request, name))
        : json;
    return QStringList("--config-dir=" + name) + words.mid(0, nEnd) + own
        + (nEnd < 0 ? QStringList() : words.mid(nEnd));
}

void CManyAnswers::startNext()
{
    const QString strName = m_names[m_nNext++];
    m_children.start(strName, wordsFor(strName));
}

// Whoever is broken off gives an answer, too.
Heard CManyAnswers::whole(Heard heard) const
{
    if (heard.answer.isEmpty()) {
        const CFailure failure(heard.status, QStringLiteral("broken off, without an answer"));
        CAnswer answer(m_line.form);
        answer.fail(failure);
        answer.end(failure.status());
        heard.answer = answer.toObject();
        heard.messages += "indexuserctl: " + failure.message().toUtf8() + '\n';
    }
    return heard;
}

void CManyAnswers::print(const Heard& heard) const
{
    if (m_line.form.bLines) {
        QJsonObject object = heard.answer;
        if (!m_bFiles) {
            object.insert("user", heard.strName);
        }
        printObject(object);
    }
    printAnswerOf(heard.strName, heard.text, heard.messages);
}

void CManyAnswers::keep(const UserAnswer& answer)
{
    m_counts.add(answer);
    if (m_bPages) {
        m_pages.append(answer);
    }
    if (answer.isFailed() && m_line.form.format == Format::Json && !m_line.form.bLines) {
        m_failed.rows.append({ answer.strUser, statusName(answer.status), answer.strError });
    }
}

// What is printed is written down at once, not before: nobody is left out. Who was killed in
// between is answered again.
void CManyAnswers::take(const Heard& heard)
{
    m_progress->hide();
    if (m_bWrites) {
        noteDone(doneText(heard));
    }
    print(heard);
    const UserAnswer answer = userAnswer(heard.strName, heard.status, heard.answer);
    if (m_resume) {
        m_resume->append(answer);
    }
    m_nFailures += answer.isFailed() ? 1 : 0;
    keep(answer);
    m_progress->advance();
}

// An index without those who are left would look like one of all.
void CManyAnswers::finish()
{
    m_progress.reset();
    const int nLeft = m_names.size() - m_nNext;
    if (nLeft > 0) {
        printError(QStringLiteral("stopped after %1 failures; %2 users are left%3")
                       .arg(QString::number(m_nFailures), QString::number(nLeft),
                            m_bPages ? QStringLiteral(", and no index is written") : QString()));
    } else if (m_bPages) {
        writeIndex(m_line.request, m_pages);
    }
    if (m_line.form.bLines) {
        dropAnswer();
    }
    if (m_bFiles) {
        return;
    }
    if (m_line.form.bLines) {
        printAside(m_counts.tables());
    } else {
        ::print(m_counts.tables(), m_line.form.format);
        requireNoFailure(nLeft);
    }
}

// The one object in JSON tells who failed; in text each has had his message.
void CManyAnswers::requireNoFailure(int left) const
{
    if (m_line.form.format != Format::Json || m_failed.rows.isEmpty()) {
        return;
    }
    record({ m_failed });
    const QString strLeft = left > 0 ? QStringLiteral(", %1 users are left").arg(left) : QString();
    throw CFailure(
        m_counts.worst(),
        QStringLiteral("of %1 users it failed%2").arg(m_failed.rows.size()).arg(strLeft));
}

void CManyAnswers::run()
{
    const int nAtOnce = std::max(1, QThread::idealThreadCount());
    while (!isOver() || m_children.count() > 0) {
        if (!isOver() && m_children.count() < nAtOnce) {
            startNext();
        } else {
            take(whole(m_children.next()));
        }
    }
}

// Whoever was under way when an answer did not go out.
QString CManyAnswers::underWay()
{
    QStringList done;
    while (m_children.count() > 0) {
        const Heard heard = m_children.next();
        done += m_bWrites ? QStringList(doneText(heard)) : QStringList();
    }
    return done.isEmpty() ? QString() : "; " + done.join(QStringLiteral("; "));
}

ExitStatus CManyAnswers::answer()
{
    try {
        run();
    } catch (const CFailure& failure) {
        m_progress.reset();
        throw CFailure(failure.status(), failure.message() + underWay(), failure.place());
    }
    finish();
    return m_counts.worst();
}

} // namespace

bool isForMany(const CommandLine& line)
{
    const Request& request = line.request;
    if (!request.isForMany() && (request.resumeFile || request.stopAfter)) {
        refuse(QStringLiteral("--resume, --stop-after: for many users only, with --users"));
    }
    return request.isForMany() || isOfFiles(line);
}

ExitStatus answerMany(const CommandLine& line, const QStringList& words, AnswerWords answer)
{
    if (line.request.isForMany()) {
        requireForEach(line);
    }
    return CManyAnswers(line, words, answer).answer();
}
