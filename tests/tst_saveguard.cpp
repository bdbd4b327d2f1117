#include "librarytest.h"

#include <mend/edit.h>
#include <standalone/standalone.h>

#include <sys/stat.h>

// Who writes without the lock while an edit saves: no text is replaced that was not read.
class tst_saveguard : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void anEditEndsWhereSomebodyElseWrites_data();
    void anEditEndsWhereSomebodyElseWrites();
    void whatCannotBePutBackStaysAsItWasWritten();
    void theHistoryKnowsWhatIsAboutToBeWritten();
    void aHistoryThatTakesNothingEndsTheSave();
    void behindTheLastAnswerNothingIsPutBack();
    void aSaveWithoutAGuardAsksNobody();

private:
    mend::Changer changer(const std::function<void()>& between, int at);
    mend::Edit edited(const mend::Changer& changer);
    QByteArray files() const;
};

namespace {

// All of a file, with its time: what is newest is told by that.
QByteArray told(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly)
        ? QFileInfo(path).lastModified().toString(Qt::ISODateWithMs).toLatin1() + file.readAll()
        : QByteArray("none");
}

} // namespace

void tst_saveguard::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
}

// \a between is called before the guard is asked for the time \a at, from 1.
mend::Changer tst_saveguard::changer(const std::function<void()>& between, int at)
{
    const QString strLive = livePath();
    return { service(),
             [strLive](const QByteArray& bytes) { standalone::serveOnce(strLive, bytes); },
             [](KW::UserConfigInterface& service) {
                 service.setFormulaFunctionTreeExpand(!service.getFormulaFunctionTreeExpand());
             },
             [between, at](const mend::SaveGuard& guard) {
                 auto pAsked = std::make_shared<int>(0);
                 standalone::guardSaves(!guard ? mend::SaveGuard()
                                               : [=](const std::string& content) {
                                                     if (++*pAsked == at) {
                                                         between();
                                                     }
                                                     return guard(content);
                                                 });
             } };
}

mend::Edit tst_saveguard::edited(const mend::Changer& changer)
{
    mend::CTransaction transaction(userDir(), { "test" });
    mend::Edit edit = mend::prepareEdit(transaction, changer);
    if (edit.failure == mend::EditFailure::None) {
        mend::saveEdit(transaction, changer, edit);
    }
    return edit;
}

QByteArray tst_saveguard::files() const
{
    return told(userDir() + "/Settings/=userconfig.xml") + '|' + told(datedPath());
}

void tst_saveguard::anEditEndsWhereSomebodyElseWrites_data()
{
    QTest::addColumn<int>("at");
    QTest::addColumn<bool>("savedBefore");
    for (const bool bSaved : { false, true }) {
        const char* pszWhen = bSaved ? "saved before" : "first save";
        QTest::addRow("%s, before the mirror", pszWhen) << 1 << bSaved;
        QTest::addRow("%s, before the copy", pszWhen) << 2 << bSaved;
        QTest::addRow("%s, behind the copy", pszWhen) << 3 << bSaved;
    }
}

void tst_saveguard::anEditEndsWhereSomebodyElseWrites()
{
    QFETCH(int, at);
    QFETCH(bool, savedBefore);
    if (savedBefore) {
        QVERIFY(QDir(userDir()).mkpath("Temp") && QDir(userDir()).mkpath("Settings"));
        writeFile(datedPath(), "<ICUserConfigFile/>");
        writeFile(userDir() + "/Settings/=userconfig.xml", "<ICUserConfigFile/>");
        QTest::qWait(20);
    }
    const QByteArray before = files();
    const QByteArray other = readFile(livePath()).replace("</ICUser", "<!-- other -->\n</ICUser");
    const mend::Edit edit = edited(changer([&] { writeLive(other); }, at));
    QCOMPARE(edit.failure, mend::EditFailure::NotWritten);
    QCOMPARE(edit.write, mend::WriteFailure::Changed);
    QCOMPARE(readFile(livePath()), other);
    QCOMPARE(files(), before);
    const mend::CHistory history(userDir());
    QVERIFY(
        !mend::toUndo(history.entries(), [&](const QString&) { return mend::digestOf(other); }));
}

// Nobody reads a pipe, and nobody knows what to put in its place.
void tst_saveguard::whatCannotBePutBackStaysAsItWasWritten()
{
    QVERIFY(QDir(userDir()).mkpath("Temp"));
    QVERIFY(::mkfifo(QFile::encodeName(datedPath()).constData(), S_IRWXU) == 0);
    const QByteArray other = readFile(livePath()).replace("</ICUser", "<!-- other -->\n</ICUser");
    const mend::Edit edit = edited(changer([&] { writeLive(other); }, 3));
    QCOMPARE(edit.write, mend::WriteFailure::Changed);
    QCOMPARE(readFile(livePath()), other);
    QVERIFY(readFile(datedPath()).contains("<ICUserConfigFile"));
    QVERIFY(!QFile::exists(userDir() + "/Settings/=userconfig.xml"));
}

// Nothing is written down behind the save: whenever it is cut short, the file tells the rest.
void tst_saveguard::theHistoryKnowsWhatIsAboutToBeWritten()
{
    const QString strLog = userDir() + "/History/log.jsonl";
    QByteArray log;
    const mend::Edit edit = edited(changer([&] { log = readFile(strLog); }, 2));
    QCOMPARE(edit.failure, mend::EditFailure::None);
    QCOMPARE(readFile(strLog), log);
    const auto entries = mend::CHistory(userDir()).entries();
    QCOMPARE(entries.size(), 1);
    QCOMPARE(entries.first().after, mend::digestOf(readFile(livePath())));
}

void tst_saveguard::aHistoryThatTakesNothingEndsTheSave()
{
    const QByteArray before = readFile(livePath());
    const QString strLog = userDir() + "/History/log.jsonl";
    const mend::Edit edit = edited(changer(
        [&] {
            QVERIFY(QFile::remove(strLog));
            QVERIFY(QDir().mkpath(strLog + "/taken"));
        },
        1));
    QCOMPARE(edit.write, mend::WriteFailure::NoHistory);
    QCOMPARE(readFile(livePath()), before);
    QCOMPARE(files(), QByteArray("none|none"));
}

// The live file cannot be made again then: the copy is all there is.
void tst_saveguard::behindTheLastAnswerNothingIsPutBack()
{
    const QString strInTheWay = livePath();
    mend::Changer changed = changer([] {}, 0);
    const auto guard = changed.guard;
    changed.guard = [=](const mend::SaveGuard& asked) {
        auto pAsked = std::make_shared<int>(0);
        guard(!asked ? asked : mend::SaveGuard([=](const std::string& content) {
            const bool bAllowed = asked(content);
            if (++*pAsked == 3 && QFile::remove(strInTheWay)) {
                QDir().mkpath(strInTheWay + "/in the way");
            }
            return bAllowed;
        }));
    };
    const mend::Edit edit = edited(changed);
    QCOMPARE(edit.failure, mend::EditFailure::NotSaved);
    const QByteArray copy = readFile(datedPath());
    QCOMPARE(mend::CHistory(userDir()).entries().last().after, mend::digestOf(copy));
    QCOMPARE(readFile(userDir() + "/Settings/=userconfig.xml"), copy);
}

void tst_saveguard::aSaveWithoutAGuardAsksNobody()
{
    int nAsked = 0;
    const mend::Edit edit = edited(changer([&] { ++nAsked; }, 1));
    QCOMPARE(edit.failure, mend::EditFailure::None);
    QVERIFY(mend::saveAndWait(service()));
    QCOMPARE(nAsked, 1);
}

QTEST_GUILESS_MAIN(tst_saveguard)
#include "tst_saveguard.moc"
