#pragma once

#include "librarytest.h"
#include "postgresserver.h"
#include "toolrun.h"

#include <inspect/userfile.h>
#include <roaming/machinestate.h>
#include <roaming/postgresstore.h>
#include <roaming/roamingtext.h>

/// Base of the tests of two desks of a trader, "a" and "b", and a server, by the commands that one
/// types. What the server has is asked of the store, what a desk has of its files.
class CDesksTest : public CLibraryTest {
protected:
    void initDesks()
    {
        CLibraryTest::init();
        if (!CPostgresServer::isInstalled()) {
            QSKIP("PostgreSQL's server is not installed");
        }
        m_strDatabase = CPostgresServer::shared().makeDatabase();
        for (const char* pszDesk : { "a", "b" }) {
            QVERIFY(QDir().mkpath(deskDir(pszDesk)));
        }
        writeFile(inspect::livePath(deskDir("a")), readFile(SAMPLE_USER "/indexUserConfig.xml"));
    }

    Outcome tool(const QString& desk, const QString& words, const QString& login = "trader1") const
    {
        const CPostgresServer& server = CPostgresServer::shared();
        const QStringList environment { "PGHOST=" + server.directory() + "/pg",
                                        "PGPORT=" + QString::number(server.port()),
                                        "PGDATABASE=" + m_strDatabase, "PGUSER=" + login };
        return runProgram(TOOL, QStringList { "--config-dir", deskDir(desk) } + words.split(' '),
                          environment);
    }

    QJsonObject answer(const QString& desk, const QString& words,
                       const QString& login = "trader1") const
    {
        return QJsonDocument::fromJson(tool(desk, words + " --json", login).strOut.toUtf8())
            .object();
    }

    void must(const QString& desk, const QString& words, int status = 0) const
    {
        const Outcome outcome = tool(desk, words);
        QVERIFY2(outcome.nStatus == status,
                 qPrintable(words + ": " + outcome.strErr + outcome.strOut));
    }

    // Revision 1 at both; 2 of desk a is the head, 3 of desk b an aside.
    void makeConflict() const
    {
        must("a", "roam push");
        must("b", "roam pull");
        must("a", "option set reportRefreshTime=750");
        must("a", "roam push");
        must("b", "option set tickRestoreDay=7");
        must("b", "roam push", 1);
    }

    QByteArray text(qint64 revision) const
    {
        roaming::CPostgresStore store(CPostgresServer::shared().options(m_strDatabase, "trader1"));
        const auto answer = store.text(roaming::c_szUserDocument, revision);
        return answer.error ? "no text: " + answer.error.strDetail.toUtf8() : answer.value;
    }

    QVector<roaming::Revision> revisions() const
    {
        roaming::CPostgresStore store(CPostgresServer::shared().options(m_strDatabase, "trader1"));
        return store.revisions(roaming::c_szUserDocument, 0, 0).value;
    }

    QStringList asked(const QString& statement) const
    {
        return sql(CPostgresServer::shared().options(m_strDatabase, "postgres"), statement);
    }

    QString deskDir(const QString& desk) const { return userDir() + '/' + desk; }
    QByteArray live(const QString& desk) const
    {
        return readFile(inspect::livePath(deskDir(desk)));
    }
    QByteArray sent(const QString& desk) const { return roaming::outgoingText(live(desk)).value(); }

    QString m_strDatabase;
};
