#pragma once

#include "inspect/check.h"
#include "inspect/doubts.h"
#include "inspect/fileformat.h"

#include <QDomDocument>
#include <QMap>
#include <QSet>

namespace inspect {

/// One check of one file: a walk over its tree that keeps count of what it comes by, since the
/// positions in the text are by number.
class CChecker {
public:
    CChecker(const QString& text, const QDomDocument& document);

    void run(CheckedFile& checked);

private:
    struct Place {
        QDomElement element;
        int nIndex;
    };

    void add(const Place& at, const QString& rule, Effect effect, const QString& text,
             const QString& attribute = {});
    void add(const Place& at, const Doubt& doubt, const QString& attribute = {});
    void walkAll(const QDomElement& parent);
    void walk(const QDomElement& element, const KW::ElementRule* pRule);
    void walkDocument();
    void walkRoot();
    void walkChildren(const Place& at, const KW::ElementRule& rule);
    void walkSection(const QDomElement& section);
    TextPosition positionOf(const QDomNode& node);
    void checkContent(const Place& at, const QDomNode& node, const char* pszWhere);
    void checkMissing();
    void checkAttributes(const Place& at, const KW::ElementRule& rule);
    void checkValue(const Place& at, const KW::AttributeRule& rule);
    void checkNeeded(const Place& at, const KW::ElementRule& rule);
    void checkSpecial(const Place& at, const KW::ElementRule& rule);
    void checkSection(const Place& at);
    void checkWindow(const Place& at);
    void checkGroup(const Place& at);
    void checkTemplate(const Place& at);
    void checkStockList(const Place& at);
    void checkStock(const Place& at);
    void checkOptions(const Place& at);
    void checkOptionValue(const Place& at, const KW::OptionRow& row);
    void checkFilters(const Place& at);
    void checkUnique(const Place& at, const QString& attribute, const QString& rule, Effect effect,
                     const QString& text);
    static QString entryOf(const Place& at, const QString& attribute);
    bool isInner(const QDomElement& element) const;
    void checkPlace(const Place& at);
    void checkScreens();
    void checkText();
    void checkContentOf(const Place& section, const KW::ElementRule& rule);
    void checkEntry(const Place& at);
    void checkPanels(const Place& at);
    void checkInstruction(const QDomNode& node, const TextPosition& position);
    void checkSchema(CheckedFile& checked);

    QString m_strText;
    CTextPositions m_positions;
    QDomDocument m_document;
    QDomElement m_root;
    int m_nElements = 0; // come by so far, as the two that follow
    int m_nComments = 0;
    int m_nInstructions = 0;
    QVector<Finding> m_findings;
    QVector<Place> m_windows;
    QMap<QString, int> m_seen; // entries of lists by list and name
    QSet<QPair<QString, QString>> m_stocks; // of the list at hand, by market and code
    QSet<QString> m_passedOver; // groups without windows, likewise
    QMap<QString, QDomElement> m_read; // of the sections that may stand anywhere
    QSet<QString> m_misplaced; // those of them that do not stand at their place
    const KW::Section* m_pSection = nullptr; // by which the walk is, null in those nobody reads
    QSet<int> m_foreign; // elements of others, by index
    QSet<int> m_explained; // lines that no error of the schema has to tell of
};

} // namespace inspect
