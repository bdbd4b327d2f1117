#pragma once

#include "indexuser/optionsettings.h"

#include <QDomElement>

namespace KW {

enum class OptionsFound { Yes, No };

/// Reads the first section Option below \a root, wherever it stands, into \a param: all its child
/// elements, whatever they are called. What is absent leaves its field as it was.
OptionsFound readOptions(const QDomElement& root, paramSettingForClient& param);

/// Appends the element Settings with the options of \a param to \a parent.
void writeOptions(QDomElement& parent, QDomDocument& doc, const paramSettingForClient& param);

} // namespace KW
