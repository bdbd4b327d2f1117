// What is written without Qt's own writer, beside it.

#include "randomdocuments.h"

#include "format/documentwriter_p.h"
#include "format/userdocument.h"

#include <bench/documents.h>

#include <QDirIterator>
#include <QRandomGenerator>
#include <QtTest>

namespace {

constexpr int c_nTrees = 10000;

// By Qt alone, which makes a question mark of half a pair.
QString readable(QString text)
{
    for (const int nLost : { 0, 0xfffe, 0xffff }) {
        text.remove(QChar(nLost));
    }
    const QChar mark(0xe000);
    return QString::fromUtf8(text.replace('?', mark).toUtf8()).remove('?').replace(mark, '?');
}

std::string byQt(const QDomDocument& doc)
{
    return doc.toString(4).toStdString();
}

randomdocuments::Choose seeded(QRandomGenerator& random)
{
    return [&random](int bound) { return random.bounded(bound); };
}

QDomDocument parsed(const QString& text)
{
    QDomDocument doc;
    return doc.setContent(text) ? doc : QDomDocument();
}

} // namespace

class tst_documentwriter : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatIsWrittenIsWhatQtWrites();
    void whatIsLeftToQtIsCutAndReadable();
    void nothingOfATreeIsChanged();
    void plainDocumentsAreWritten_data();
    void plainDocumentsAreWritten();
    void doubtfulDocumentsAreNot_data();
    void doubtfulDocumentsAreNot();
    void theDepthLimitIsExact();
    void usersAreWritten_data();
    void usersAreWritten();
};

// Attributes stand in another order with every seed.
void tst_documentwriter::whatIsWrittenIsWhatQtWrites()
{
    int nWritten = 0;
    for (int i = 0; i < c_nTrees; ++i) {
        qSetGlobalQHashSeed(-1);
        QRandomGenerator random(i);
        const QDomDocument doc = randomdocuments::tree(seeded(random));
        const std::optional<std::string> written = KW::writtenDocument(doc, KW::c_nMaxDepth);
        if (written) {
            ++nWritten;
            QVERIFY2(*written == byQt(doc),
                     qPrintable(QString("seed %1:\n%2").arg(i).arg(doc.toString(4))));
            QVERIFY2(readable(doc.toString(4)) == doc.toString(4), qPrintable(QString::number(i)));
        }
    }
    QVERIFY2(nWritten > c_nTrees / 2 && nWritten < c_nTrees, qPrintable(QString::number(nWritten)));
}

void tst_documentwriter::whatIsLeftToQtIsCutAndReadable()
{
    for (int i = 0; i < c_nTrees / 4; ++i) {
        QRandomGenerator random(i);
        QDomDocument doc = randomdocuments::tree(seeded(random));
        const KW::UserDocumentText text = KW::userDocumentText(doc);
        QVERIFY2(QString::fromStdString(text.strUtf8) == readable(doc.toString(4)),
                 qPrintable(QString::number(i)));
    }
}

void tst_documentwriter::nothingOfATreeIsChanged()
{
    for (int i = 0; i < 500; ++i) {
        QRandomGenerator random(i);
        const QDomDocument doc = randomdocuments::tree(seeded(random));
        const QString strBefore = doc.toString(4);
        KW::writtenDocument(doc, 3);
        QCOMPARE(doc.toString(4), strBefore);
    }
}

void tst_documentwriter::plainDocumentsAreWritten_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << "";
    QTest::newRow("declaration") << "<?xml version='1.0' encoding='UTF-8'?><a/>";
    QTest::newRow("another encoding's name as a text")
        << "<?xml version='1.0'?><a>encoding='gbk'</a>";
    QTest::newRow("nested") << "<a><b><c/></b><b/></a>";
    QTest::newRow("text alone") << "<a>x</a>";
    QTest::newRow("text before an element") << "<a>x<b/></a>";
    QTest::newRow("text behind an element") << "<a><b/>x</a>";
    QTest::newRow("text between elements") << "<a><b/>x<c/><d/></a>";
    QTest::newRow("data") << "<a><![CDATA[<&]]><b/><![CDATA[]]></a>";
    QTest::newRow("comments") << "<!--1--><a><!--2-->x<!--3--><b/><!----></a><!--4-->";
    QTest::newRow("instructions") << "<?p 1?><a><?p 2?><b/>x<?p?></a>";
    QTest::newRow("escapes of a text") << "<a>&lt;&amp;>\"'&#13;&#10;&#9;]]&gt;]>x&#x1;</a>";
    QTest::newRow("escapes of an attribute")
        << "<a b='&lt;&amp;>&quot;&#13;&#10;&#9;]]&gt;' c=\"'\"/>";
    QTest::newRow("two, three and four bytes")
        << "<a b='é行😀'>\u0080\u07ff\u0800\ud7ff\ue000\ufffd😀</a>";
    QTest::newRow("many attributes") << "<a" + [] {
        QString strAttributes;
        for (int i = 0; i < 64; ++i) {
            strAttributes += QString(" n%1='%1'").arg(i);
        }
        return strAttributes;
    }() + "/>";
    QTest::newRow("long value") << "<a b='" + QString("行&lt;x").repeated(20000) + "'/>";
    QTest::newRow("prefix without namespaces") << "<p:a q:b='1'/>";
}

void tst_documentwriter::plainDocumentsAreWritten()
{
    QFETCH(QString, text);
    const QDomDocument doc = parsed(text);
    QCOMPARE(doc.hasChildNodes(), !text.isEmpty());
    const auto written = KW::writtenDocument(doc, KW::c_nMaxDepth);
    QVERIFY(written);
    QCOMPARE(*written, byQt(doc));
}

void tst_documentwriter::doubtfulDocumentsAreNot_data()
{
    QTest::addColumn<QDomDocument>("doc");
    const auto row
        = [](const char* pszWhat, const QString& text) { QTest::newRow(pszWhat) << parsed(text); };
    row("document type", "<!DOCTYPE a><a/>");
    row("reference to an entity", "<a>&e;</a>");
    row("another encoding", "<?xml version='1.0' encoding='gbk'?><a>行</a>");
    row("half a pair", "<a>&#xd83d;</a>");
    row("halves in two texts", "<a>&#xd83d;<!---->&#xde00;</a>");
    row("U+FFFF in an attribute", "<a b='&#xffff;'/>");
    row("NUL", "<a>x&#0;</a>");
    QDomDocument namespaces;
    QVERIFY(namespaces.setContent(QString("<p:a xmlns:p='u'/>"), true));
    QTest::newRow("namespace") << namespaces;
    QDomDocument outside = parsed("<a/>");
    outside.appendChild(outside.createTextNode("\""));
    QTest::newRow("text outside of all elements") << outside;
    QDomDocument attribute = parsed("<a/>");
    attribute.documentElement().setAttributeNS(QString(), "b", "1");
    QTest::newRow("attribute of no namespace") << attribute;
    QDomDocument many = parsed("<a/>");
    for (int i = 0; i < 65; ++i) {
        many.documentElement().setAttribute(QString("n%1").arg(i), i);
    }
    QTest::newRow("very many attributes") << many;
}

void tst_documentwriter::doubtfulDocumentsAreNot()
{
    QFETCH(QDomDocument, doc);
    QVERIFY(doc.hasChildNodes());
    QVERIFY(!KW::writtenDocument(doc, KW::c_nMaxDepth));
}

void tst_documentwriter::theDepthLimitIsExact()
{
    const QDomDocument doc = parsed("<a><b><c>x</c></b><b/></a>");
    QVERIFY(!KW::writtenDocument(doc, 2));
    QCOMPARE(*KW::writtenDocument(doc, 3), byQt(doc));
}

void tst_documentwriter::usersAreWritten_data()
{
    QTest::addColumn<QDomDocument>("doc");
    for (const bench::Size& size : bench::c_sizes) {
        QTest::newRow(size.pszName) << bench::buildDocument(size);
    }
    for (const char* pszDirectory : { SAMPLE_USER, TEST_DATA "/golden", TEST_DATA "/inspect" }) {
        for (QDirIterator each(pszDirectory, { "*.xml" }, QDir::Files); each.hasNext();) {
            QFile file(each.next());
            QVERIFY(file.open(QIODevice::ReadOnly));
            QTest::newRow(qPrintable(each.fileName())) << parsed(QString::fromUtf8(file.readAll()));
        }
    }
}

void tst_documentwriter::usersAreWritten()
{
    QFETCH(QDomDocument, doc);
    QVERIFY(doc.hasChildNodes());
    const auto written = KW::writtenDocument(doc, KW::c_nMaxDepth);
    QVERIFY(written && *written == byQt(doc));
}

Q_DECLARE_METATYPE(QDomDocument)

QTEST_GUILESS_MAIN(tst_documentwriter)
#include "tst_documentwriter.moc"
