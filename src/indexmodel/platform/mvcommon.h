#pragma once

#include "platform/declspec.h"

#include <QDomDocument>
#include <QDomElement>
#include <QString>

#include <string>

namespace MV {

/// The first element named \a name below \a parent, at any depth, in document order; else null.
PLATFORM_API QDomElement getSubElement(const QDomElement& parent, QString name);

/// UTF-8 bytes, all of them, as text.
PLATFORM_API QString sToQs(const std::string& bytes);

/// \a value with \a precision decimals; \a invalidText for a value that has no digits.
PLATFORM_API QString formatDoubleNumber(double value, int precision, int flags, bool,
                                        QString invalidText);

/// A node of a docked-panel tree.
class PLATFORM_API ILayoutElement {
public:
    ILayoutElement() = default;
    ILayoutElement(const ILayoutElement&) = default;
    ILayoutElement& operator=(const ILayoutElement&) = default;
    virtual ~ILayoutElement() = default;

    /// Builds the tree that \a element describes; the caller owns it. Null when it cannot.
    static ILayoutElement* fromXml(QDomElement& element);

    /// Appends this tree to \a parent as one child element.
    virtual void toXml(QDomElement& parent, QDomDocument& doc) const = 0;
};

} // namespace MV
