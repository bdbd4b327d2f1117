#include "roaming/store.h"

#include "roaming/digest_p.h"

namespace roaming {

// Whatever is sent again after a crash is the same save, wherever it was cut short.
QUuid saveId(const SaveWish& wish)
{
    const QByteArray strBase = QByteArray::number(wish.nBase);
    const QByteArray text = wish.strDocument.toUtf8() + '\n' + strBase
        + (wish.bAside ? "a\n" : "\n") + digestOf(wish.text);
    return QUuid::createUuidV5(wish.machine.id, text);
}

Answer<QVector<QByteArray>> CStore::texts(const QVector<RevisionName>& names)
{
    Answer<QVector<QByteArray>> all;
    for (const RevisionName& name : names) {
        const Answer<QByteArray> one = text(name.strDocument, name.nNumber);
        if (one.error) {
            return { one.error };
        }
        all.value.append(one.value);
    }
    return all;
}

} // namespace roaming
