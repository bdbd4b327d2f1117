#include "inspect/textencoding.h"

#include <QtTest>

using inspect::TextEncoding;

Q_DECLARE_METATYPE(std::optional<inspect::TextEncoding>)

// What bytes are a text in which encoding.
class tst_textencoding : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aTextIsReadOnlyInItsEncoding_data();
    void aTextIsReadOnlyInItsEncoding();
    void theProbableEncodingIsTold_data();
    void theProbableEncodingIsTold();
    void theFirstOtherByteHasAPlace_data();
    void theFirstOtherByteHasAPlace();
    void namesComeBack();
};

namespace {

const QString& chinese()
{
    static const QString s_strText = QStringLiteral("<a b='张三 浦发'/>");
    return s_strText;
}

QByteArray gbk(const char* pszBefore, const char* pszAfter)
{
    return QByteArray(pszBefore) + "\xd5\xc5\xc8\xfd \xc6\xd6\xb7\xa2" + pszAfter;
}

QByteArray utf16(const QString& text, bool bigEndian)
{
    QByteArray bytes;
    for (const QChar c : text) {
        const char high = static_cast<char>(c.row());
        const char low = static_cast<char>(c.cell());
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

} // namespace

void tst_textencoding::aTextIsReadOnlyInItsEncoding_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QString>("text");
    const auto row = [](const char* pszName, const QByteArray& bytes, const char* pszEncoding,
                        const QString& text) {
        QTest::newRow(pszName) << bytes << QString(pszEncoding) << text;
    };
    const QByteArray inGbk = gbk("<a b='", "'/>");
    row("utf-8", chinese().toUtf8(), "utf-8", chinese());
    row("utf-8 with mark", "\xef\xbb\xbf" + chinese().toUtf8(), "utf-8", chinese());
    row("gbk as utf-8", inGbk, "utf-8", QString());
    row("overlong", "\xc0\xaf", "utf-8", QString());
    row("a character cut off", "ab\xe5\xbc", "utf-8", QString());
    row("half of a wide text", utf16("<a/>", false), "utf-8", QString());
    row("gbk", inGbk, "gbk", chinese());
    row("gbk as gb18030", inGbk, "gb18030", chinese());
    row("half a character", "a\xd5", "gbk", QString());
    row("no such lead", "a\xff\xa1", "gbk", QString());
    row("four bytes", "\x94\x39\xda\x33", "gbk", QString());
    row("four bytes", "\x94\x39\xda\x33", "gb18030", QStringLiteral("\U0001F4A9"));
    row("little", utf16(chinese(), false), "utf-16le", chinese());
    row("little with mark", "\xff\xfe" + utf16(chinese(), false), "utf-16le", chinese());
    row("big with mark", "\xfe\xff" + utf16(chinese(), true), "utf-16be", chinese());
    row("odd", utf16(chinese(), false) + 'a', "utf-16le", QString());
    row("half a pair", QByteArray("\x3d\xd8", 2), "utf-16le", QString());
}

void tst_textencoding::aTextIsReadOnlyInItsEncoding()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, encoding);
    QFETCH(QString, text);
    const auto found = inspect::decoded(bytes, *inspect::encodingOf(encoding));
    QCOMPARE(found.has_value(), !text.isNull());
    QCOMPARE(found.value_or(QString()), text);
}

void tst_textencoding::theProbableEncodingIsTold_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("encoding");
    QTest::newRow("gbk") << gbk("<a b='", "'/>") << "gbk";
    QTest::newRow("four bytes") << gbk("<a b='", "\x94\x39\xda\x33'/>") << "gb18030";
    QTest::newRow("little") << utf16(chinese(), false) << "utf-16le";
    QTest::newRow("big") << utf16(chinese(), true) << "utf-16be";
    QTest::newRow("little with mark") << "\xff\xfe" + utf16(chinese(), false) << "utf-16le";
    QTest::newRow("big with mark") << "\xfe\xff" + utf16(chinese(), true) << "utf-16be";
    QTest::newRow("cut wide text") << utf16(chinese(), false) + 'a' << "";
    QTest::newRow("a torn byte") << QByteArray(chinese().toUtf8()).insert(8, '\xff') << "";
    // These pass for pairs of GBK.
    QTest::newRow("torn, still pairs") << QStringLiteral("张三李四").toUtf8() + "\xd5\xc5"
                                       << "";
}

void tst_textencoding::theProbableEncodingIsTold()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, encoding);
    const auto fault = inspect::encodingFault(bytes);
    QVERIFY(fault.has_value());
    QCOMPARE(fault->probable ? inspect::encodingName(*fault->probable) : QString(), encoding);
}

void tst_textencoding::theFirstOtherByteHasAPlace_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("place");
    QTest::newRow("none") << chinese().toUtf8() << "";
    QTest::newRow("nothing") << QByteArray() << "";
    QTest::newRow("first") << QByteArray("\xd5") << "1:1";
    QTest::newRow("line") << QByteArray("a\n\nb\n \xd5\xc5\n\xd5") << "4:2";
    QTest::newRow("behind a wide one") << chinese().left(8).toUtf8() + "\xff"
                                       << "1:9";
    QTest::newRow("behind what stands for one") << QByteArray("\xef\xbf\xbd\xff") << "1:2";
    QTest::newRow("cut off") << QByteArray("ab\n\xe5\xbc") << "2:1";
    QTest::newRow("wide text") << utf16("<a/>", true) << "1:1";
}

void tst_textencoding::theFirstOtherByteHasAPlace()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, place);
    const auto fault = inspect::encodingFault(bytes);
    QCOMPARE(fault ? QStringLiteral("%1:%2").arg(fault->at.nLine).arg(fault->at.nColumn)
                   : QString(),
             place);
}

void tst_textencoding::namesComeBack()
{
    for (const QString& name : inspect::encodingNames()) {
        QCOMPARE(inspect::encodingName(*inspect::encodingOf(name.toUpper())), name);
    }
    QCOMPARE(inspect::encodingNames().size(), 5);
    QVERIFY(!inspect::encodingOf("latin1"));
}

QTEST_GUILESS_MAIN(tst_textencoding)
#include "tst_textencoding.moc"
