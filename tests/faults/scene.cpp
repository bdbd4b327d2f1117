#include "scene.h"

#include <QDate>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QXmlStreamReader>

namespace {

constexpr char c_szDamaged[] = "<ICUserConfigFile><damaged";

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString elementLine(const QXmlStreamReader& reader)
{
    QStringList attributes;
    for (const QXmlStreamAttribute& attribute : reader.attributes()) {
        attributes.append(QStringLiteral(" %1=\"%2\"")
                              .arg(attribute.qualifiedName(), attribute.value().toString()));
    }
    attributes.sort();
    return reader.qualifiedName() + attributes.join(QString());
}

// All that a document says, in order, by another reader than the one under test; nothing when it is
// not well-formed. Blanks between elements and the order of attributes say nothing.
QStringList statementsOf(const QByteArray& xml)
{
    QStringList statements;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement()) {
            statements.append(elementLine(reader));
        } else if (reader.isEndElement()) {
            statements.append(QStringLiteral("/"));
        } else if (!reader.text().trimmed().isEmpty()) {
            statements.append(reader.text().toString());
        }
    }
    return reader.hasError() ? QStringList() : statements;
}

} // namespace

// In memory, where there is such a place: what a disk keeps is not looked at here, and syncs of a
// disk take most of the time.
CScene::CScene()
    : m_directory((QFileInfo(QStringLiteral("/dev/shm")).isWritable() ? QStringLiteral("/dev/shm")
                                                                      : QDir::tempPath())
                  + QStringLiteral("/scene-XXXXXX"))
{
    if (!m_directory.isValid() || !m_logs.isValid()) {
        qFatal("no temporary directory");
    }
}

QString CScene::livePath() const
{
    return m_directory.filePath(QStringLiteral("indexUserConfig.xml"));
}

QString CScene::datedPath() const
{
    return m_directory.filePath(QStringLiteral("Temp/indexUserConfig.xml_")
                                + QDate::currentDate().toString(QStringLiteral("yyyyMMdd")));
}

QByteArray CScene::generation(int number)
{
    const QByteArray option = "reportRefreshTime=\"500\"";
    QByteArray sample = contentOf(QStringLiteral(SAMPLE_USER "/indexUserConfig.xml"));
    if (sample.count(option) != 1) {
        qFatal("the sample user is another one");
    }
    return sample.replace(option, "reportRefreshTime=\"" + QByteArray::number(number) + '"');
}

void CScene::beforeSave()
{
    clear();
    write(livePath(), generation(1));
    write(datedPath(), generation(1));
}

void CScene::beforeRecovery()
{
    clear();
    write(livePath(), c_szDamaged);
    write(datedPath(), generation(1));
}

void CScene::beforeRestore()
{
    clear();
    write(livePath(), generation(1));
    write(m_directory.filePath("Temp/indexUserConfig.xml_" + earlierDay().remove('-')),
          generation(2));
}

// Its history is that of an edit, which is made once.
void CScene::beforeUndo()
{
    static QMap<QString, QByteArray> s_files;
    if (s_files.isEmpty()) {
        clear();
        write(livePath(), generation(2));
        if (runTool({ "option", "set", "reportRefreshTime=1" }, {}).nStatus != 0) {
            qFatal("no edit to undo");
        }
        s_files = files();
    }
    clear();
    for (auto it = s_files.begin(); it != s_files.end(); ++it) {
        write(m_directory.filePath(it.key()), *it);
    }
}

Run CScene::save(const Fault& fault)
{
    return run(QStringLiteral(SAVEDRIVER), { m_directory.path(), "2", "1" }, fault, "0");
}

Run CScene::edit(const Fault& fault)
{
    return runTool({ "option", "set", "reportRefreshTime=2" }, fault);
}

Run CScene::recover(const Fault& fault)
{
    return runTool({ "recover" }, fault);
}

Run CScene::restore(const Fault& fault)
{
    return runTool({ "snapshot", "restore", earlierDay() }, fault);
}

Run CScene::undo(const Fault& fault)
{
    return runTool({ "undo" }, fault);
}

QStringList CScene::calls() const
{
    QStringList found;
    for (const QByteArray& line : contentOf(m_logs.filePath("calls")).split('\n')) {
        if (!line.isEmpty()) {
            found.append(QString::fromUtf8(line).section(' ', 1));
        }
    }
    return found;
}

int CScene::generationOf(const QString& path)
{
    static const QRegularExpression s_number(QStringLiteral("reportRefreshTime=\"([0-9]+)\""));
    const QStringList statements = statementsOf(contentOf(path));
    if (statements.isEmpty()) {
        return 0;
    }
    const int nNumber = s_number.match(statements.join(QString())).captured(1).toInt();
    return statements == statementsOf(generation(nNumber)) ? nNumber : c_nNobodys;
}

bool CScene::damagedIsKept() const
{
    for (const QFileInfo& file : QDir(m_directory.path()).entryInfoList(QDir::Files)) {
        if (contentOf(file.filePath()) == c_szDamaged) {
            return true;
        }
    }
    return false;
}

Run CScene::run(const QString& program, const QStringList& arguments, const Fault& fault,
                const char* pszArmed)
{
    const QString strLog = m_logs.filePath(QStringLiteral("calls"));
    QFile::remove(strLog);
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LD_PRELOAD", SHIM);
    environment.insert("FAULT_ROOT", m_directory.path());
    environment.insert("FAULT_ARMED", pszArmed);
    environment.insert("FAULT_AT", QString::number(fault.nAt));
    environment.insert("FAULT_ACTION", fault.strAction);
    environment.insert("FAULT_ERRNO", QString::number(fault.nErrno));
    environment.insert("FAULT_ON", fault.bOn ? "1" : "0");
    environment.insert("FAULT_LOG", strLog);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(60000)) {
        qFatal("%s does not end under call %d, %s %d", qPrintable(program), fault.nAt,
               qPrintable(fault.strAction), fault.nErrno);
    }
    return { process.exitStatus() == QProcess::CrashExit, process.exitCode(),
             QString::fromUtf8(process.readAllStandardOutput()),
             QString::fromUtf8(process.readAllStandardError()) };
}

Run CScene::runTool(const QStringList& words, const Fault& fault)
{
    return run(QStringLiteral(TOOL), QStringList { "--config-dir", m_directory.path() } + words,
               fault, "1");
}

QString CScene::earlierDay() const
{
    return QDate::currentDate().addDays(-7).toString(Qt::ISODate);
}

QMap<QString, QByteArray> CScene::files() const
{
    QMap<QString, QByteArray> found;
    QDirIterator all(m_directory.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString strPath = all.next();
        found.insert(QDir(m_directory.path()).relativeFilePath(strPath), contentOf(strPath));
    }
    return found;
}

void CScene::write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly)
        || file.write(content) != content.size() || !file.flush()) {
        qFatal("%s: %s", qPrintable(path), qPrintable(file.errorString()));
    }
}

void CScene::clear()
{
    QDir directory(m_directory.path());
    directory.removeRecursively();
    directory.mkpath(m_directory.path());
}
