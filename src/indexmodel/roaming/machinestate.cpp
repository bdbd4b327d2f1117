#include "roaming/machinestate.h"

#include <inspect/userfile.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace roaming {

namespace {

constexpr qint64 c_nMaxStateBytes = 16LL * 1024 * 1024;
constexpr double c_dMaxBase = 1e15; // JSON's numbers are exact so far

QString pathOf(const QString& configDir)
{
    return configDir + '/' + c_szStateFile;
}

DocumentState documentOf(const QJsonObject& json)
{
    const auto digest = [&](const char* pszKey) { return json[pszKey].toString().toLatin1(); };
    DocumentState state { static_cast<qint64>(json["base"].toDouble()), digest("digest"),
                          digest("aside"), digest("head") };
    const QJsonArray sent = json["sent"].toArray();
    for (const QJsonValue& each : sent) {
        state.sent.append(each.toString().toLatin1());
    }
    return state;
}

QJsonObject toJson(const DocumentState& state)
{
    QJsonArray sent;
    for (const QByteArray& digest : state.sent) {
        sent.append(QString::fromLatin1(digest));
    }
    return { { "base", static_cast<double>(state.nBase) },
             { "digest", QString::fromLatin1(state.digest) },
             { "aside", QString::fromLatin1(state.aside) },
             { "head", QString::fromLatin1(state.head) },
             { "sent", sent } };
}

} // namespace

MachineState readState(const QString& configDir)
{
    MachineState state;
    const inspect::FileBytes file = inspect::readBytes(pathOf(configDir), c_nMaxStateBytes);
    if (file.state != inspect::FileState::Whole) {
        state.error = file.state == inspect::FileState::Missing ? StateError::Missing
                                                                : StateError::Unreadable;
        return state;
    }
    const QJsonObject json = QJsonDocument::fromJson(file.bytes).object();
    state.error = json["documents"].isObject() ? StateError::None : StateError::Damaged;
    state.strArrangement = json["arrangement"].toString();
    const QJsonObject documents = json["documents"].toObject();
    for (auto it = documents.begin(); it != documents.end(); ++it) {
        const QJsonObject document = it.value().toObject();
        const double dBase = document["base"].toDouble();
        if (dBase < 0 || dBase > c_dMaxBase) {
            return { StateError::Damaged, {}, {} };
        }
        state.documents[it.key()] = documentOf(document);
    }
    return state;
}

bool writeState(const QString& configDir, const MachineState& state)
{
    QJsonObject documents;
    for (auto it = state.documents.begin(); it != state.documents.end(); ++it) {
        documents[it.key()] = toJson(it.value());
    }
    const QJsonObject json { { "arrangement", state.strArrangement }, { "documents", documents } };
    const QByteArray bytes = QJsonDocument(json).toJson();
    QSaveFile file(pathOf(configDir));
    return file.open(QIODevice::WriteOnly)
        && file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
        && file.write(bytes) == bytes.size()
        // What a commit cannot write, it does not tell, and puts what it has in place.
        && file.flush() && file.commit();
}

CStateLock::CStateLock(const QString& configDir)
    : m_file(configDir + '/' + c_szStateLock)
{
    m_file.setStaleLockTime(0);
}

mend::LockState CStateLock::take(int waitMs)
{
    if (m_file.tryLock(waitMs)) {
        return mend::LockState::Taken;
    }
    return m_file.error() == QLockFile::LockFailedError ? mend::LockState::Busy
                                                        : mend::LockState::Refused;
}

} // namespace roaming
