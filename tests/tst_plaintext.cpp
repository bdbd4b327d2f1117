#include "librarytest.h"

#include <inspect/plaintext.h>

#include <QJsonDocument>

class tst_plaintext : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void controlCharactersAreTheseAndNoOthers();
    void textThatCannotBeStored_data();
    void textThatCannotBeStored();
    void harmlessTextShowsThem();
    void harmlessJsonIsTheSameJson();
    void harmlessXmlIsTheSameXml();
    void namesOfFiles_data();
    void namesOfFiles();
};

namespace {

// The code points, told apart from how the unit under test does it.
bool isOnTheList(ushort c)
{
    return c < 0x20 || (c >= 0x7f && c <= 0x9f) || c == 0x061c || c == 0x200e || c == 0x200f
        || (c >= 0x2028 && c <= 0x202e) || (c >= 0x2066 && c <= 0x2069);
}

} // namespace

void tst_plaintext::controlCharactersAreTheseAndNoOthers()
{
    for (int c = 0; c <= 0xffff; ++c) {
        const QString strText = QStringLiteral("a") + QChar(c) + QStringLiteral("b");
        const bool bListed = isOnTheList(static_cast<ushort>(c));
        QVERIFY2(inspect::hasControlCharacter(strText) == bListed,
                 qPrintable(QString::number(c, 16)));
        QVERIFY2((inspect::harmless(strText) == strText) != bListed,
                 qPrintable(QString::number(c, 16)));
    }
}

void tst_plaintext::textThatCannotBeStored_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");
    const QString strNowhere("holds a character that no file can hold");
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("plain") << QStringLiteral("浦发 😀\ufeff\ufffd\ufffc") << QString();
    QTest::newRow("control") << "a\nb"
                             << "holds a control character";
    QTest::newRow("NUL") << QString(QChar(0)) << "holds a control character";
    QTest::newRow("U+FFFE") << QString("a") + QChar(0xfffe) << strNowhere;
    QTest::newRow("U+FFFF") << QString(QChar(0xffff)) + "a" << strNowhere;
    QTest::newRow("high surrogate") << QString("a") + QChar(0xd83d) + "b" << strNowhere;
    QTest::newRow("high surrogate at the end") << QString("a") + QChar(0xd83d) << strNowhere;
    QTest::newRow("low surrogate") << QString(QChar(0xde00)) + "a" << strNowhere;
    QTest::newRow("swapped surrogates") << QString(QChar(0xde00)) + QChar(0xd83d) << strNowhere;
}

void tst_plaintext::textThatCannotBeStored()
{
    QFETCH(QString, text);
    QFETCH(QString, error);
    QCOMPARE(inspect::textError(text), error);
}

void tst_plaintext::harmlessTextShowsThem()
{
    const QString strText = QStringLiteral("盘\n\x1b[2J\u202e\u009b😀");
    QCOMPARE(inspect::harmless(strText), QStringLiteral("盘\\u000a\\u001b[2J\\u202e\\u009b😀"));
    QCOMPARE(inspect::harmless(strText, inspect::LineEnds::Kept),
             QStringLiteral("盘\n\\u001b[2J\\u202e\\u009b😀"));
}

void tst_plaintext::harmlessJsonIsTheSameJson()
{
    const QJsonObject object { { "k\u202e", "a\n\x1b\x7f\u009b\u2066 \\u202e" } };
    const QString strJson = QString::fromUtf8(QJsonDocument(object).toJson());
    const QString strHarmless = inspect::harmless(strJson, inspect::LineEnds::Kept);
    QVERIFY(strHarmless != strJson);
    QCOMPARE(QJsonDocument::fromJson(strHarmless.toUtf8()).object(), object);
}

void tst_plaintext::harmlessXmlIsTheSameXml()
{
    QDomDocument doc;
    QDomElement element = doc.createElement("a");
    element.setAttribute("n", QStringLiteral("x\u202e\u009b\x7f\x1b\ty"));
    doc.appendChild(element).appendChild(doc.createTextNode(QStringLiteral("t\u2066")));
    const QString strXml = inspect::withReferences(doc.toString(4));
    QVERIFY(!inspect::hasControlCharacter(QString(strXml).remove('\n')));
    QDomDocument read;
    QVERIFY(read.setContent(strXml));
    QCOMPARE(read.documentElement().attribute("n"), element.attribute("n"));
    QCOMPARE(read.documentElement().text(), QStringLiteral("t\u2066"));
}

void tst_plaintext::namesOfFiles_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("error");
    const auto row = [](const QString& name, const char* pszError) {
        QTest::newRow(qPrintable(inspect::harmless(name.left(20)))) << name << pszError;
    };
    row("银行", "");
    row("a b.c*", "");
    row("", "is empty");
    row(".", "begins with a dot");
    row("..", "begins with a dot");
    row(".hidden", "begins with a dot");
    row("a/b", "holds '/' or '\\'");
    row("a\\b", "holds '/' or '\\'");
    row(" ", "holds nothing but blanks");
    row(QStringLiteral(" \u3000\u00a0"), "holds nothing but blanks");
    row(" a ", "");
    row("a\nb", "holds a control character");
    row(QString("a") + QChar(0xfffe), "holds a character that no file can hold");
    row(QString("a") + QChar(0) + "b", "holds a control character");
    row(QStringLiteral("a\u202eb"), "holds a control character");
    row(QString(243, 'x'), "");
    row(QString(244, 'x'), "is longer than 243 bytes");
    row(QString(81, QChar(0x94f6)), "");
    row(QString(82, QChar(0x94f6)), "is longer than 243 bytes");
}

void tst_plaintext::namesOfFiles()
{
    QFETCH(QString, name);
    QFETCH(QString, error);
    QCOMPARE(inspect::fileNameError(name), error);
}

QTEST_GUILESS_MAIN(tst_plaintext)
#include "tst_plaintext.moc"
