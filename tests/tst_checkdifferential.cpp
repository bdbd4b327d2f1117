#include "librarytest.h"

#include <inspect/check.h>

#include <QRandomGenerator>
#include <QXmlStreamReader>

#include <algorithm>

// What check() calls in order comes back from a load and a save, by a reader of another make.
class tst_checkdifferential : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void whatIsInOrderComesBack();

private:
    QByteArray saved(const QByteArray& content);
};

namespace {

// Blanks of XML only: the others are text.
bool isBlank(const QString& text)
{
    return std::all_of(text.begin(), text.end(),
                       [](QChar c) { return QStringLiteral(" \t\r\n").contains(c); });
}

QString statementOf(const QXmlStreamReader& reader)
{
    QStringList attributes;
    for (const QXmlStreamAttribute& each : reader.attributes()) {
        // What is written for a window that has none.
        if (each.qualifiedName() != QLatin1String("navtree") || !each.value().isEmpty()) {
            attributes.append(each.qualifiedName() + '=' + each.value());
        }
    }
    attributes.sort();
    return reader.qualifiedName() + '[' + attributes.join(' ') + ']';
}

// All that the element says at which \a reader stands; nobody asks for the order of sections, of
// panel groups and of stock lists. \a foreign: blanks that are all of its content are text.
QString saidBy(QXmlStreamReader& reader, bool foreign)
{
    static const QStringList s_unordered { "ICUserConfigFile", "FormulaPanelGroupLayout",
                                           "ValuePanelGroupLayout", "Customs" };
    static const QStringList s_foreign { "DockArea", "FormulaCatalog", "drawGraph" };
    const QString strTag = reader.qualifiedName().toString();
    foreign = foreign || s_foreign.contains(strTag);
    QString strSaid = statementOf(reader);
    QStringList children;
    QString strBlanks;
    while (!reader.atEnd() && reader.readNext() != QXmlStreamReader::EndElement) {
        if (reader.isStartElement()) {
            children.append(saidBy(reader, foreign));
        } else if (reader.isCharacters() && isBlank(reader.text().toString())) {
            strBlanks += reader.text();
        } else {
            children.append(reader.tokenString() + reader.text()
                            + reader.processingInstructionTarget()
                            + reader.processingInstructionData());
        }
    }
    if (s_unordered.contains(strTag)) {
        children.sort();
    }
    return strSaid + (children.isEmpty() && foreign ? strBlanks : QString()) + '('
        + children.join(",\n") + ')';
}

// Nothing when it is not well-formed.
QString saidBy(const QByteArray& xml)
{
    QXmlStreamReader reader(xml);
    QString strSaid;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement()) {
            strSaid += saidBy(reader, false);
        } else if (reader.isStartDocument()) {
            strSaid += reader.isStandaloneDocument() ? "standalone" : "";
        } else if (!isBlank(reader.text().toString()) || reader.isProcessingInstruction()) {
            strSaid += reader.tokenString();
        }
    }
    return reader.hasError() ? QString() : strSaid;
}

class CMutator {
public:
    explicit CMutator(const QByteArray& sample)
        : m_sample(sample)
        , m_random(20)
    {
    }

    QByteArray mutant()
    {
        QByteArray content = m_sample;
        for (int i = m_random.bounded(1, 3); i > 0; --i) {
            switch (m_random.bounded(4)) {
            case 0:
                insertSnippet(content);
                break;
            case 1:
                changeValue(content);
                break;
            case 2:
                renameElement(content);
                break;
            default:
                moveElement(content);
            }
        }
        return content;
    }

private:
    int pick(const QByteArray& content, char mark)
    {
        const int nFrom = m_random.bounded(content.size());
        const int nFound = content.indexOf(mark, nFrom);
        return nFound < 0 ? content.indexOf(mark) : nFound;
    }

    QByteArray oneOf(const QVector<QByteArray>& choices)
    {
        return choices[m_random.bounded(choices.size())];
    }

    void insertSnippet(QByteArray& content)
    {
        static const QVector<QByteArray> s_snippets {
            "<Customs/>",
            "<Option/>",
            "<UserParams/>",
            "<IndexLayout/>",
            "<LayoutTemplates/>",
            "<!-- c -->",
            "<?pi x?>",
            "<?pi x?>text",
            "text",
            "<![CDATA[ ]]>",
            "<Sep>  </Sep>",
            "<Sep>\xe3\x80\x80</Sep>",
            "\xc2\xa0",
            "&#x1F600;",
            "<a b='&#x1F600;'/>",
            "<a b='\xf0\x9f\x98\x80'/>",
            "<LayoutWindow/>",
            "<LayoutTemplate name='n'/>",
            "<itemLayout key='k'><LayoutWindow/></itemLayout>",
            "<Stock/>",
            "<Custom type='8'/>",
            "<a>&#32;</a>",
            "<t>a<b/>c</t>",
            "\n"
        };
        content.insert(pick(content, '>') + 1, oneOf(s_snippets));
    }

    void changeValue(QByteArray& content)
    {
        static const QVector<QByteArray> s_values { "",     "0", "1",          "2",     "-1", "7",
                                                    "true", "x", "2147483648", "&amp;", " " };
        const int nBegin = content.indexOf("=\"", pick(content, ' ')) + 2;
        const int nEnd = content.indexOf('"', nBegin);
        if (nBegin > 1 && nEnd > 0) {
            content.replace(nBegin, nEnd - nBegin, oneOf(s_values));
        }
    }

    void renameElement(QByteArray& content)
    {
        static const QVector<QByteArray> s_tags { "Customs",      "Option",     "Other",
                                                  "LayoutWindow", "itemLayout", "drawGraph",
                                                  "Settings" };
        const int nBegin = pick(content, '<');
        const int nEnd = std::min(content.indexOf(' ', nBegin), content.indexOf('>', nBegin));
        const QByteArray old = content.mid(nBegin + 1, nEnd - nBegin - 1);
        if (nEnd > 0 && old.size() > 1) {
            const QByteArray tag = oneOf(s_tags);
            content.replace('<' + old, '<' + tag).replace("</" + old + '>', "</" + tag + '>');
        }
    }

    // Lines from one to the end of an element of the same indentation.
    void moveElement(QByteArray& content)
    {
        QList<QByteArray> lines = content.split('\n');
        const int nFrom = m_random.bounded(lines.size());
        const QByteArray indentation = lines[nFrom].left(lines[nFrom].indexOf('<'));
        const bool bAlone = lines[nFrom].contains("/>") || lines[nFrom].contains("</");
        int nTo = nFrom;
        while (!bAlone && nTo + 1 < lines.size() && !lines[nTo].startsWith(indentation + "</")) {
            ++nTo;
        }
        const QList<QByteArray> moved = lines.mid(nFrom, nTo - nFrom + 1);
        if (m_random.bounded(2) == 0) {
            lines.erase(lines.begin() + nFrom, lines.begin() + nTo + 1);
        }
        const int nPlace = lines.isEmpty() ? 0 : m_random.bounded(lines.size());
        for (int i = 0; i < moved.size(); ++i) {
            lines.insert(nPlace + i, moved[i]);
        }
        content = lines.join('\n');
    }

    QByteArray m_sample;
    QRandomGenerator m_random;
};

} // namespace

QByteArray tst_checkdifferential::saved(const QByteArray& content)
{
    utils::CSingletonT<KW::CUserConfigManager>::release();
    resetSiblings();
    writeLive(content);
    service().loadSettings();
    saveAndWait(service());
    return readFile(livePath());
}

void tst_checkdifferential::whatIsInOrderComesBack()
{
    CMutator mutator(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    int nInOrder = 0;
    for (int i = 0; i < 400; ++i) {
        const QByteArray mutant = mutator.mutant();
        writeLive(mutant);
        const inspect::CheckedFile checked = inspect::check(livePath());
        const bool bWhole = checked.file.state == inspect::FileState::Whole;
        const bool bTaken
            = std::all_of(checked.findings.begin(), checked.findings.end(),
                          [](const auto& each) { return each.effect == inspect::Effect::Kept; });
        if (bWhole && bTaken && checked.strFailure.isEmpty()) {
            ++nInOrder;
            QCOMPARE(saidBy(saved(mutant)), saidBy(mutant));
        }
    }
    QVERIFY2(nInOrder > 30, qPrintable(QString::number(nInOrder)));
}

QTEST_GUILESS_MAIN(tst_checkdifferential)
#include "tst_checkdifferential.moc"
