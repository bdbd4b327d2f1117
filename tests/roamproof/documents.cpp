#include "scenarios.h"

#include <roaming/postgresstore.h>

#include <QDirIterator>
#include <QFile>
#include <QRandomGenerator>

namespace roamproof {

namespace {

constexpr int c_nTogether = 20;

QVector<QByteArray> filesIn(const QStringList& folders)
{
    QVector<QByteArray> texts;
    for (const QString& folder : folders) {
        QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QFile file(it.next());
            if (!file.open(QIODevice::ReadOnly)) {
                qFatal("%s cannot be read", qPrintable(file.fileName()));
            }
            texts.append(file.readAll());
        }
    }
    return texts;
}

QByteArray randomBytes(QRandomGenerator& random, int size)
{
    QByteArray bytes(size, '\0');
    for (char& c : bytes) {
        c = static_cast<char>(random.bounded(256));
    }
    return bytes;
}

// A file with blocks cut out, torn in or doubled, or bytes with beginnings of sections in them.
QByteArray randomText(QRandomGenerator& random, const QVector<QByteArray>& files)
{
    if (random.bounded(4) == 0) {
        return randomBytes(random, random.bounded(20000)).replace('a', "\n<");
    }
    QByteArray text = files[random.bounded(files.size())].left(200000);
    for (int i = random.bounded(8); i > 0 && !text.isEmpty(); --i) {
        const int nAt = random.bounded(text.size());
        const QByteArray piece = text.mid(random.bounded(text.size()), random.bounded(3000));
        switch (random.bounded(3)) {
        case 0:
            text.remove(nAt, random.bounded(3000));
            break;
        case 1:
            text.insert(nAt, piece);
            break;
        default:
            text.insert(nAt, randomBytes(random, random.bounded(300)));
        }
    }
    return text;
}

QVector<Acknowledged> saved(const roaming::ConnectionOptions& options,
                            const QVector<QByteArray>& texts)
{
    QVector<Acknowledged> said;
    roaming::CPostgresStore store(options);
    for (int i = 0; i < texts.size(); i += c_nTogether) {
        QVector<roaming::SaveWish> wishes;
        for (int j = i; j < std::min(i + c_nTogether, texts.size()); ++j) {
            roaming::SaveWish wish;
            wish.strDocument = QStringLiteral("held/%1").arg(j, 6, 10, QLatin1Char('0'));
            wish.text = texts[j];
            wish.machine = { QUuid::createUuid(), "desk" };
            wish.id = roaming::saveId(wish);
            wishes.append(wish);
        }
        const auto answer = store.save(wishes);
        for (int j = 0; j < answer.value.size(); ++j) {
            said.append({ wishes[j].strDocument, answer.value[j].nRevision, false, texts[i + j] });
        }
    }
    return said;
}

int others(const roaming::ConnectionOptions& options, const QVector<Acknowledged>& said)
{
    roaming::CPostgresStore store(options);
    int nOthers = 0;
    for (const Acknowledged& each : said) {
        const auto text = store.text(each.strDocument, each.nNumber);
        nOthers += text.error || text.value != each.text ? 1 : 0;
    }
    return nOthers;
}

} // namespace

Outcome documents(const Measure& measure)
{
    CPostgresServer server(CPostgresServer::Durability::Real);
    const Database database(server);
    sql(database.owner, "insert into roaming.person (login, quota) values ('trader1', 4000000000)");
    QVector<QByteArray> texts = filesIn(measure.folders);
    const int nFiles = texts.size();
    QRandomGenerator random(20261122);
    for (int i = 0; i < measure.nCount && nFiles > 0; ++i) {
        texts.append(randomText(random, texts.mid(0, nFiles)));
    }
    const QVector<Acknowledged> said = saved(database.trader, texts);
    const Verdict verdict = judged(said, storedIn(database.owner));
    const int nOthers = others(database.trader, said);
    return { "documents to the store and back",
             QStringLiteral("%1 files and %2 random ones").arg(nFiles).arg(measure.nCount),
             QStringLiteral("%1 came back, %2 as other bytes, %3 other on the server")
                 .arg(said.size())
                 .arg(nOthers)
                 .arg(verdict.nLost),
             nFiles > 0 && said.size() == texts.size() && nOthers == 0 && verdict.isClean() };
}

} // namespace roamproof
