#include "terminal/output.h"

#include "failure.h"
#include "terminal/answer.h"
#include "terminal/screen.h"
#include "terminal/tabletext.h"

#include <inspect/plaintext.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>

#include <unistd.h>

namespace {

// Standard output, the first error on it, and what must be told all the same.
struct Output {
    int nError = 0;
    std::string strHeld; // until it is known whether it is long
    QStringList done;
    TableLook look;
    std::unique_ptr<CAnswer> pAnswer; // none where only people read
    AnswerForm form;
    int nInto = -1; // where answers go instead of standard output

    bool isForPeople() const { return form.format == Format::Text; }
    bool isOfMany() const { return nInto >= 0; }
};

Output& output()
{
    static Output s_output;
    return s_output;
}

void write(const std::string& bytes)
{
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()
        && output().nError == 0) {
        output().nError = errno;
    }
}

void put(const std::string& bytes)
{
    if (hasPager()) {
        output().strHeld += bytes;
        return;
    }
    write(bytes);
}

// Descriptors of a process's own take all that is written, or nothing more.
void writeInto(int descriptor, const QByteArray& bytes)
{
    if (::write(descriptor, bytes.constData(), static_cast<std::size_t>(bytes.size()))
        != bytes.size()) {
        throw CFailure(ExitStatus::InputOutput, QStringLiteral("the answer cannot be kept"));
    }
}

std::string headed(const QString& name, const QByteArray& text)
{
    return text.isEmpty()
        ? std::string()
        : "==> " + inspect::harmless(name).toStdString() + " <==\n" + text.toStdString();
}

void putText(const QString& text)
{
    put(inspect::harmless(text, inspect::LineEnds::Kept).toStdString());
}

Table outputTable(const QString& path, const QByteArray& content)
{
    return { "output", {}, { "file", "bytes" }, { { path, content.size() } }, TableShape::One };
}

void writeStandardOutput(const Request& request, const QByteArray& content)
{
    if (request.format == Format::Json) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("standard output takes the JSON: name a file instead of -"));
    }
    std::string strSaid = "would write ";
    if (!request.isDryRun()) {
        put(content.toStdString());
        finishOutput(); // nothing is said of what did not go out
        strSaid.clear();
    }
    strSaid += "standard output (" + std::to_string(content.size()) + " bytes)\n";
    std::fputs(strSaid.c_str(), stderr);
}

} // namespace

void beginAnswer(const AnswerForm& form)
{
    output().look = { hasColor(), form.bWide ? 0 : screenWidth() };
    output().form = form;
    if (form.format == Format::Json || output().isOfMany()) {
        output().pAnswer = std::make_unique<CAnswer>(form);
    }
}

void answerInto(int descriptor)
{
    output().nInto = descriptor;
}

void dropAnswer()
{
    output().pAnswer.reset();
}

void endAnswer(ExitStatus status)
{
    // An answer whose end does not go out has no second one.
    const std::unique_ptr<CAnswer> pAnswer = std::move(output().pAnswer);
    if (!pAnswer) {
        return;
    }
    pAnswer->end(status);
    if (output().isOfMany()) {
        writeInto(output().nInto, lineOf(pAnswer->toObject()));
    } else if (output().form.bLines) {
        putText(QString::fromUtf8(lineOf(pAnswer->toObject())));
    } else {
        putText(QString::fromUtf8(pAnswer->toJson()));
    }
}

void endAnswer(const CFailure& failure)
{
    if (output().pAnswer) {
        output().pAnswer->fail(failure);
    }
    endAnswer(failure.status());
}

void print(const QVector<Table>& tables, Format format)
{
    for (const Table& table : tables) {
        if (format == Format::Json) {
            record({ table });
        } else {
            put(tableText(table, output().look));
        }
    }
}

bool isRecorded()
{
    return output().pAnswer != nullptr;
}

void record(const QVector<Table>& tables)
{
    for (const Table& table : tables) {
        if (isRecorded()) {
            output().pAnswer->add(table);
        }
    }
}

void printAside(const QVector<Table>& tables)
{
    for (const Table& table : tables) {
        std::fputs(tableText(table, {}).c_str(), stderr);
    }
}

void printLine(const QString& line)
{
    if (output().isForPeople()) {
        put(inspect::harmless(line).toStdString() + '\n');
    }
}

void printSum(const QString& line)
{
    if (!output().isOfMany()) {
        printLine(line);
    }
}

// What comes of another process is harmless already, and has its colours. Nobody waits for the end
// of many answers to see the first.
void printAnswerOf(const QString& name, const QByteArray& text, const QByteArray& messages)
{
    write(headed(name, text));
    finishOutput();
    std::fputs(headed(name, messages).c_str(), stderr);
}

void printObject(const QJsonObject& object)
{
    const QString strLine = QString::fromUtf8(lineOf(object));
    write(inspect::harmless(strLine, inspect::LineEnds::Kept).toStdString());
    finishOutput();
}

void printText(const QString& text)
{
    if (output().isForPeople()) {
        putText(text);
    }
}

void printPage(const QString& text)
{
    record({ { "page", {}, { "text" }, { { text } }, TableShape::One } });
    printText(text);
}

QByteArray harmlessPage(const QByteArray& page)
{
    return inspect::harmless(QString::fromUtf8(page), inspect::LineEnds::Kept).toUtf8();
}

void printDone(const QString& line)
{
    printLine(line);
    output().done.append(line);
}

void noteDone(const QString& line)
{
    output().done = QStringList(line);
}

void printError(const QString& message)
{
    std::fputs(("indexuserctl: " + inspect::harmless(message).toStdString() + '\n').c_str(),
               stderr);
}

void flushOutput()
{
    const std::string strHeld = std::move(output().strHeld);
    output().strHeld.clear();
    if (!pageText(strHeld)) {
        write(strHeld);
    }
    if (std::fflush(stdout) != 0 && output().nError == 0) {
        output().nError = errno;
    }
}

void finishOutput()
{
    flushOutput();
    if (output().nError == 0) {
        return;
    }
    if (output().nError == EPIPE && output().done.isEmpty()) {
        // A reader that has seen enough of an answer is no failure to tell of.
        std::signal(SIGPIPE, SIG_DFL);
        std::raise(SIGPIPE);
    }
    QString strError = QStringLiteral("cannot write to standard output: %1")
                           .arg(QString::fromLocal8Bit(std::strerror(output().nError)));
    if (!output().done.isEmpty()) {
        strError += "; but it was done: " + output().done.join(QStringLiteral("; "));
    }
    throw CFailure(ExitStatus::InputOutput, strError);
}

void writeFile(const Request& request, const QString& path, const QByteArray& content,
               Readers readers)
{
    if (path == QLatin1String("-")) {
        writeStandardOutput(request, content);
        return;
    }
    if (path.isEmpty()) {
        throw CFailure(ExitStatus::Usage, QStringLiteral("FILE: the name of a file is wanted"));
    }
    requireNothingOfTheUser(request.strConfigDir, path);
    const QString strBytes = QStringLiteral(" (%1 bytes)").arg(content.size());
    record({ outputTable(path, content) });
    if (request.isDryRun()) {
        printLine("would write " + path + strBytes);
        return;
    }
    const QString strError = replaceOutput(path, content, readers);
    if (!strError.isEmpty()) {
        throw CFailure(ExitStatus::InputOutput, QStringLiteral("%1: %2").arg(path, strError),
                       { path });
    }
    printDone(path + strBytes);
}
