#pragma once

#include <QString>

#include <array>
#include <cstring>
#include <string>

namespace KW {

/// A text that grows at its end, in UTF-8, with what XML writes as references. What no file can
/// hold (NUL, half a pair, U+FFFE, U+FFFF) makes it unreadable, for good. One thread at a time.
///
///     CUtf8Text text;
///     text.append(value, CUtf8Text::Escapes::Attribute);
class CUtf8Text {
public:
    enum class Escapes { None, Text, Attribute };

    bool isReadable() const { return m_bReadable; }
    /// All of it; it is empty then.
    std::string take();

    void append(const QString& text, Escapes escapes = Escapes::None);

    void append(const char* pszAscii)
    {
        const std::size_t nSize = std::strlen(pszAscii);
        std::memcpy(room(nSize), pszAscii, nSize);
        m_pNext += nSize;
    }

    void appendBlanks(int count)
    {
        std::memset(room(static_cast<std::size_t>(count)), ' ', static_cast<std::size_t>(count));
        m_pNext += count;
    }

private:
    char* room(std::size_t size)
    {
        if (size > static_cast<std::size_t>(m_piece.end() - m_pNext)) {
            flush();
        }
        return m_pNext;
    }

    void flush();
    const QChar* appendWide(const QChar* p, const QChar* pEnd, char*& pOut);

    std::string m_strBytes;
    std::array<char, 16 * 1024> m_piece; // before m_strBytes, since a string grows by copying
    char* m_pNext = m_piece.data();
    bool m_bReadable = true;
};

} // namespace KW
