#pragma once

#include <QByteArray>
#include <QRandomGenerator>
#include <QVector>

#include <algorithm>

/// A user's file with one or two things in it that nobody expects, another one each time; \a
/// snippets come on top of those that it has.
///
///     CUserMutator mutator(readFile(SAMPLE_USER "/indexUserConfig.xml"), 20);
///     const QByteArray mutant = mutator.mutant();
class CUserMutator {
public:
    CUserMutator(const QByteArray& sample, quint32 seed, const QVector<QByteArray>& snippets = {})
        : m_sample(sample)
        , m_random(seed)
        , m_snippets(snippets)
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
        content.insert(pick(content, '>') + 1, oneOf(s_snippets + m_snippets));
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
    QVector<QByteArray> m_snippets;
};
