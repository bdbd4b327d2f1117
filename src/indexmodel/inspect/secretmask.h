#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace inspect {

/// What may stand behind a secret's name.
enum class TextKind {
    Document, ///< a value of an attribute, whole or torn; also of what is not known better
    Log, ///< anything, up to the end of the line
    JsonLines, ///< anything, up to the end of the string
    Answer, ///< nothing: this program wrote it for people
};

/// A file that a stranger may see, or why he may not.
struct MaskedText {
    QByteArray bytes; ///< empty in doubt
    int nPlaces = 0; ///< that now hold "(hidden)"
    QString strDoubt; ///< why nobody can tell that no secret is in it; empty where one can
};

/// Takes the values of secret options out of texts in UTF-8, GBK, GB18030 and UTF-16, damaged ones,
/// too: those behind the options' names and, of four characters or more, those that it has learned,
/// wherever they stand, escaped as XML, JSON and addresses are. Everything else stays byte by byte.
/// What it cannot be certain of is a doubt. One thread at a time.
///
///     inspect::CSecretMask mask;
///     for (const QByteArray& bytes : all) { mask.learn(bytes); }
///     const inspect::MaskedText text = mask.masked(all[0], inspect::TextKind::Document);
class CSecretMask {
public:
    /// Notes the values of the secrets in \a bytes.
    void learn(const QByteArray& bytes);

    MaskedText masked(const QByteArray& bytes, TextKind kind) const;

    /// The same for the name of a file or a message, in which only learned values are secret.
    QString masked(const QString& text) const;

private:
    QStringList m_values; ///< the longest first: one may be part of another
};

} // namespace inspect
