#include "randomdocuments.h"

#include <QStringList>
#include <QVector>

namespace randomdocuments {

namespace {

QString piece(const Choose& choose)
{
    static const QStringList s_pieces {
        "x",      "0.25",   " ",      "\n",     "\r",   "\t",   "\r\n",     "<",
        ">",      "&",      "\"",     "'",      "]",    "]]",   "]]>",      "-",
        "--",     "?>",     "=",      "&lt;",   "行情", "😀",    "é",        "\u3000",
        "\u00a0", "\u0085", "\u2028", "\ufeff", "\x01", "\x7f", "encoding", "0123456789abcdef",
    };
    return s_pieces[choose(s_pieces.size())];
}

// What no file is read again with.
QString unreadable(const Choose& choose)
{
    static const QVector<QChar> s_characters { QChar(0), QChar(0xfffe), QChar(0xffff),
                                               QChar(0xd800), QChar(0xdc00) };
    return s_characters[choose(s_characters.size())];
}

bool rarely(const Choose& choose)
{
    return choose(200) == 1;
}

QString content(const Choose& choose)
{
    QString strContent = choose(8) == 0 ? QString() : QString("");
    for (int i = choose(4); i > 0; --i) {
        strContent += rarely(choose) ? unreadable(choose) : piece(choose);
    }
    return strContent;
}

QString name(const Choose& choose)
{
    static const QStringList s_names { "a", "b", "Stock", "name", "_x-1.y", "p:q", "c", "d" };
    return rarely(choose) ? QString("名") : s_names[choose(s_names.size())];
}

class CTree {
public:
    CTree(const Choose& choose, int deep)
        : m_choose(choose)
        , m_nDeep(deep)
        , m_bOddities(choose(3) == 0)
    {
    }

    QDomDocument build()
    {
        if (oddity()) {
            m_doc = QDomDocument("type");
        }
        declare();
        for (int i = m_choose(3); i > 1; --i) {
            m_doc.appendChild(oddity() ? leaf() : m_doc.createComment(content(m_choose)));
        }
        QDomElement root = element();
        fill(root, 4);
        m_doc.appendChild(oddity() ? inside(root, m_nDeep + m_choose(20)) : root);
        return m_doc;
    }

private:
    bool oddity() { return m_bOddities && m_choose(20) == 1; }

    void declare()
    {
        static const QStringList s_declarations {
            "version=\"1.0\" encoding=\"utf-8\"",
            "version='1.0' encoding='UTF-8'",
            "version='1.0'",
            "",
            "encoding='gbk'",
            "version=\"1.0\" encoding = \"iso-8859-1\"",
            "encoding=\"utf-8\" encoding='gbk'",
        };
        const int nOf = m_bOddities ? s_declarations.size() : 3;
        if (m_choose(3) > 0) {
            m_doc.appendChild(
                m_doc.createProcessingInstruction("xml", s_declarations[m_choose(nOf)]));
        }
    }

    QDomNode leaf()
    {
        switch (m_choose(oddity() ? 6 : 4)) {
        case 0:
            return m_doc.createComment(content(m_choose));
        case 1:
            return m_doc.createCDATASection(content(m_choose));
        case 2:
            return m_doc.createProcessingInstruction(name(m_choose), content(m_choose));
        case 4:
            return m_doc.createEntityReference(name(m_choose));
        case 5:
            return m_doc.createDocumentFragment();
        default:
            return m_doc.createTextNode(content(m_choose));
        }
    }

    QDomElement element()
    {
        QDomElement made = oddity() ? m_doc.createElementNS(uri(), name(m_choose))
                                    : m_doc.createElement(name(m_choose));
        const int nCount = oddity() ? 60 + m_choose(10) : m_choose(4);
        for (int i = 0; i < nCount; ++i) {
            setAttribute(made, nCount > 4 ? QString("n%1").arg(i) : name(m_choose));
        }
        return made;
    }

    void setAttribute(QDomElement& element, const QString& attribute)
    {
        if (oddity()) {
            element.setAttributeNS(uri(), attribute, content(m_choose));
        } else {
            element.setAttribute(attribute, content(m_choose));
        }
    }

    QString uri() { return m_choose(2) == 0 ? QString() : QString("urn:u"); }

    void fill(QDomElement& parent, int levels)
    {
        for (int i = levels == 0 ? 0 : m_choose(5); i > 0; --i) {
            if (m_choose(2) == 0) {
                parent.appendChild(leaf());
            } else {
                QDomElement child = element();
                fill(child, levels - 1);
                parent.appendChild(child);
            }
        }
    }

    QDomElement inside(QDomElement inner, int levels)
    {
        for (int i = 0; i < levels; ++i) {
            QDomElement outer = m_doc.createElement("a");
            outer.appendChild(inner);
            inner = outer;
        }
        return inner;
    }

    const Choose& m_choose;
    const int m_nDeep;
    bool m_bOddities;
    QDomDocument m_doc;
};

class CText {
public:
    explicit CText(const Choose& choose)
        : m_choose(choose)
        , m_bOddities(choose(4) == 0)
    {
    }

    QString write()
    {
        static const QStringList s_beginnings {
            "",
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n",
            "<?xml version='1.0'?>",
            "<?xml\nversion = \"1.0\"\tencoding='gbk' ?>\r\n",
            "<!-- c -->\n",
            "\n",
            "",
            "<?xml version='1.0' standalone='yes'?>",
            "<?xml version=''?>",
            "<?pi x?>",
            "<!DOCTYPE a>",
            "<!DOCTYPE a [<!ENTITY e '<b/>x'>]>",
            "\ufeff",
            "<?xml version='&lt;'?>",
        };
        m_strText = s_beginnings[m_choose(m_bOddities ? s_beginnings.size() : 7)];
        element(5);
        m_strText += m_choose(2) == 0 ? "\n" : "";
        m_strText += m_choose(8) == 0 ? "<!--end-->\n\n" : "";
        return m_strText;
    }

private:
    bool oddity() { return m_bOddities && m_choose(20) == 1; }

    QString blanks(int atLeast)
    {
        static const QStringList s_blanks { " ", "\n", "\t", "\r\n", "  " };
        QString strBlanks = m_choose(6) == 0 ? s_blanks[m_choose(s_blanks.size())] : QString();
        return atLeast > strBlanks.size() ? QString(" ") : strBlanks;
    }

    // Of '<', '&' and quotes only the references, unless something is to be wrong.
    QString data(const QString& quote)
    {
        static const QStringList s_references {
            "&lt;",        "&gt;",   "&amp;",     "&quot;",   "&apos;",         "&#10;",
            "&#x20;",      "&#xA0;", "&#65;",     "&#x4e2d;", "&#xffff;",       "&#xd800;",
            "&#00000065;", "&#0;",   "&#x10000;", "&#X41;",   "&#99999999999;", "&e;",
            "&amp",        "&;",     "&#;",       "&#x;",     "&AMP;",
        };
        QString strData;
        for (int i = m_choose(4); i > 0; --i) {
            const QString strPiece = content(m_choose);
            const bool bRaw = oddity()
                || !(strPiece.contains('<') || strPiece.contains('&') || strPiece.contains("]]>")
                     || (!quote.isEmpty() && strPiece.contains(quote)));
            strData += bRaw ? strPiece : QString();
            strData += m_choose(4) == 0
                ? s_references[m_choose(oddity() ? s_references.size() : 13)]
                : QString();
        }
        return strData;
    }

    void attributes()
    {
        for (int i = m_choose(4); i > 0; --i) {
            const QString strQuote = m_choose(3) == 0 ? "'" : "\"";
            m_strText += blanks(oddity() ? 0 : 1) + name(m_choose) + blanks(0) + '=' + blanks(0)
                + strQuote + data(strQuote) + strQuote;
        }
        m_strText += blanks(0);
    }

    void element(int levels)
    {
        const QString strName = name(m_choose);
        m_strText += '<' + strName;
        attributes();
        if (levels == 0 || m_choose(3) == 0) {
            m_strText += "/>";
            return;
        }
        m_strText += '>';
        for (int i = m_choose(5); i > 0; --i) {
            node(levels);
        }
        m_strText += "</" + (oddity() ? name(m_choose) : strName) + blanks(0) + '>';
    }

    void node(int levels)
    {
        switch (m_choose(oddity() ? 7 : 6)) {
        case 0:
            m_strText += "<!--" + content(m_choose).remove(oddity() ? "x" : "-") + "-->";
            break;
        case 1:
            m_strText += "<![CDATA[" + content(m_choose) + "]]>";
            break;
        case 2:
            m_strText += data(QString());
            break;
        case 6:
            m_strText += "<?pi " + content(m_choose) + "?>";
            break;
        default:
            element(levels - 1);
        }
    }

    const Choose& m_choose;
    bool m_bOddities;
    QString m_strText;
};

} // namespace

QDomDocument tree(const Choose& choose, int deep)
{
    return CTree(choose, deep).build();
}

QString text(const Choose& choose)
{
    return CText(choose).write();
}

QString changed(QString text, const Choose& choose)
{
    static const QStringList s_tokens
        = QString("<|>|/|=|\"|'|&|;|]]>|--|-->|<!--|<![CDATA[|<?|?>|<b/>|</b>|<a>|</a>|&amp;|&#65;"
                  "|x|名|<!DOCTYPE a>|<?xml version='1.0'?>| |\n|\r| a='1'|\u3000|\ufeff")
              .split('|');
    for (int i = 1 + choose(3); i > 0; --i) {
        const int nAt = choose(text.size() + 1);
        switch (choose(4)) {
        case 0:
            text.remove(nAt, 1 + choose(5));
            break;
        case 1:
            text.insert(nAt, text.mid(choose(text.size() + 1), 1 + choose(30)));
            break;
        case 2:
            text.insert(nAt, unreadable(choose));
            break;
        default:
            text.insert(nAt, s_tokens[choose(s_tokens.size())]);
        }
    }
    return text;
}

} // namespace randomdocuments
