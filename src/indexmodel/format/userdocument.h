#pragma once

#include "format/indexuserexport.h"
#include "platform/limits.h"

#include <QDomDocument>
#include <QString>
#include <QStringList>

#include <string>

namespace KW {

enum class DocumentError {
    None,
    Malformed, ///< no XML
    TooDeep, ///< nested below c_nMaxDepth
};

/// What parseUserDocument() found.
struct UserDocument {
    QDomDocument document; ///< empty when there is an error
    DocumentError error = DocumentError::None;
    QString strError; ///< the error in words; empty when the text was read whole
    int nLine = 0; ///< where reading ended, from 1; 0 without an error
    int nColumn = 0;

    bool isValid() const { return error == DocumentError::None; }
};

/// Reads the text of a user's file. It is whole or not there: no part of a malformed or too deeply
/// nested text is in the result. Any thread.
///
///     const KW::UserDocument file = KW::parseUserDocument(text);
INDEXUSER_EXPORT UserDocument parseUserDocument(const QString& text);

/// What is to be written for a document, and what is not.
struct UserDocumentText {
    std::string strUtf8; ///< parseUserDocument() reads it again
    /// The elements that were cut, in their order: the beginning of the path and its end, such as
    /// "/ICUserConfigFile/IndexLayout/LayoutWindow/dock/.../panel".
    QStringList cut;
};

/// The text of \a doc without what would prevent reading it again: elements below c_nMaxDepth (cut
/// from \a doc itself, too) and the characters NUL, U+FFFE, U+FFFF and lone surrogates.
INDEXUSER_EXPORT UserDocumentText userDocumentText(QDomDocument& doc);

} // namespace KW
