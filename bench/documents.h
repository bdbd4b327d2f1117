#pragma once

#include <QByteArray>
#include <QDomDocument>
#include <QPair>
#include <QString>
#include <QVector>

namespace bench {

/// How much a user has; templates and sections of other managers are in proportion.
struct Size {
    const char* pszName;
    int nWindows;
    int nStocks;
};

constexpr Size c_sizes[] = { { "S", 5, 50 }, { "M", 50, 2000 }, { "L", 500, 50000 } };

const Size& sizeOf(const QString& name);

/// The document of a user of that size, built with bare QDom calls.
QDomDocument buildDocument(const Size& size);

/// The calls that build a document, without the work of finding out what to build. It leaves no
/// holes in the heap: what is built later finds there what it would find without a plan.
class CPlan {
public:
    explicit CPlan(const Size& size);
    QDomDocument build() const;

private:
    struct Node {
        int nDepth;
        QString strTag; ///< empty for a text
        QString strText;
        QVector<QPair<QString, QString>> attributes;
    };

    void add(const QDomNode& node, int depth);

    QDomDocument m_planned; // kept, since destroyed it leaves its room to whoever builds next
    QVector<Node> m_nodes;
};

/// The same as a file.
QByteArray userFile(const Size& size);

/// The same as keys and values, for stores that know nothing else: "CustomStock/3/17/name".
using Settings = QVector<QPair<QString, QString>>;
Settings settingsOf(const Size& size);

} // namespace bench
