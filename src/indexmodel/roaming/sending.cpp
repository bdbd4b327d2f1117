#include "roaming/sending.h"

#include "roaming/digest_p.h"
#include "roaming/policy.h"
#include "roaming/roamingtext.h"

#include <inspect/userfile.h>

#include <algorithm>

namespace roaming {

namespace {

using Wishes = QVector<SaveWish>;

constexpr int c_nMostSent = 32;

std::optional<QByteArray> outgoingLive(const Desk& desk)
{
    const inspect::FileBytes live = inspect::readSavedBytes(inspect::livePath(desk.strConfigDir));
    return live.state == inspect::FileState::Whole ? outgoingText(live.bytes) : std::nullopt;
}

// Where an answer was lost, another text may be the head, though here it is again as it was before.
bool isNew(const DocumentState& known, const QByteArray& text)
{
    const QByteArray digest = digestOf(text);
    return digest != known.digest || known.sent.count(digest) != known.sent.size();
}

// What lies beside the head already is not sent a second time.
bool isAside(const DocumentState& known, const QByteArray& text)
{
    return digestOf(text) == known.aside;
}

SaveWish wishOf(const Desk& desk, const MachineState& state, const QString& document,
                const QByteArray& text, const QString& reason)
{
    SaveWish wish;
    wish.strDocument = document;
    wish.nBase = state.documents.value(document).nBase;
    wish.baseDigest = state.documents.value(document).head;
    wish.text = text;
    wish.machine = desk.machine;
    wish.strArrangement = state.strArrangement;
    wish.strReason = reason;
    return wish;
}

// Nobody removes several at once, and with them all there are: the store itself is lost.
void forgetLostSettings(const QVector<SharedSetting>& here, MachineState& state)
{
    QStringList known = state.documents.keys();
    known.erase(std::remove_if(known.begin(), known.end(),
                               [](const QString& each) { return !isSettingDocument(each); }),
                known.end());
    const bool bAny = std::any_of(here.begin(), here.end(), [&](const SharedSetting& each) {
        return known.contains(settingDocument(each));
    });
    for (int i = 0; !bAny && known.size() > 1 && i < known.size(); ++i) {
        state.documents.remove(known[i]);
    }
}

// Those that are here, and those that were and are not any more.
QVector<SharedSetting> settingsOf(const Desk& desk, const MachineState& state)
{
    QVector<SharedSetting> settings;
    const auto all = desk.settings.all ? desk.settings.all() : std::nullopt;
    if (!all) {
        return settings;
    }
    QStringList here;
    for (const SharedSetting& setting : *all) {
        if (!isLocalSetting(setting.strSection, setting.strKey)) {
            settings.append(setting);
            here.append(settingDocument(setting));
        }
    }
    for (auto it = state.documents.begin(); it != state.documents.end(); ++it) {
        if (isSettingDocument(it.key()) && !here.contains(it.key())) {
            settings.append(settingOf(it.key(), {}).value_or(SharedSetting()));
        }
    }
    return settings;
}

Wishes settingWishes(const Desk& desk, const MachineState& state, const QString& reason)
{
    Wishes wishes;
    const auto settings = settingsOf(desk, state);
    for (const SharedSetting& setting : settings) {
        const QString strDocument = settingDocument(setting);
        const QByteArray text = settingText(setting);
        if (isNew(state.documents.value(strDocument), text)) {
            wishes.append(wishOf(desk, state, strDocument, text, reason));
        }
    }
    return wishes;
}

StoreError putOnHeads(Wishes& wishes, CStore& store)
{
    const Answer<QVector<Head>> heads = store.heads();
    for (SaveWish& wish : wishes) {
        const auto it = std::find_if(heads.value.begin(), heads.value.end(), [&](const Head& head) {
            return head.strDocument == wish.strDocument;
        });
        wish.nBase = it == heads.value.end() ? 0 : it->revision.nNumber;
        wish.baseDigest.clear();
    }
    return heads.error;
}

void note(MachineState& state, const SaveWish& wish, const SaveAnswer& answer)
{
    if (wish.bAside) {
        return;
    }
    DocumentState& document = state.documents[wish.strDocument];
    const QByteArray digest = digestOf(wish.text);
    if (answer.outcome == SaveOutcome::Saved) {
        document = { answer.nRevision, digest, {}, digest };
    } else if (answer.outcome == SaveOutcome::Aside) {
        document.aside = digest;
        document.sent.clear();
    }
}

// So that this is known again when the answer never comes. A disk that does not take the note is no
// reason not to send.
void noteSending(const Desk& desk, MachineState& state, const Wishes& wishes)
{
    for (const SaveWish& wish : wishes) {
        QByteArrayList& sent = state.documents[wish.strDocument].sent;
        const QByteArray digest = digestOf(wish.text);
        if (!wish.bAside && !sent.contains(digest)) {
            sent = sent.mid(std::max(0, sent.size() + 1 - c_nMostSent)) << digest;
        }
    }
    writeState(desk.strConfigDir, state);
}

StoreError saveOn(CStore& store, SaveWish& wish, qint64 base, SaveAnswer& answer)
{
    wish.nBase = base;
    wish.baseDigest.clear();
    wish.id = saveId(wish);
    const auto again = store.save({ wish });
    answer = again.error ? answer : again.value.first();
    return again.error;
}

// By another text of this machine, which was sent when no answer to the first had come.
Answer<bool> isOvertaken(CStore& store, const SaveWish& wish, const SaveAnswer& answer)
{
    if (answer.outcome != SaveOutcome::Saved || answer.nRevision >= answer.nHead) {
        return {};
    }
    const auto later = store.revisions(wish.strDocument, answer.nRevision, 0);
    return { later.error,
             std::any_of(later.value.begin(), later.value.end(), [&](const auto& each) {
                 return !each.bAside && each.machine.id == wish.machine.id;
             }) };
}

// Of a setting the last writer's value holds, since nobody could choose; the other's is the
// revision before it.
StoreError putOnTop(CStore& store, SaveWish& wish, SaveAnswer& answer)
{
    Answer<bool> overtaken = isOvertaken(store, wish, answer);
    while (!overtaken.error && overtaken.value) {
        overtaken.error = saveOn(store, wish, answer.nRevision, answer);
        overtaken = overtaken.error ? overtaken : isOvertaken(store, wish, answer);
    }
    const bool bBeside
        = answer.outcome == SaveOutcome::Aside && isSettingDocument(wish.strDocument);
    return overtaken.error || !bBeside ? overtaken.error
                                       : saveOn(store, wish, answer.nHead, answer);
}

SendResult resultOf(SaveOutcome outcome)
{
    switch (outcome) {
    case SaveOutcome::Aside:
        return SendResult::Conflict;
    case SaveOutcome::Behind:
        return SendResult::Behind;
    case SaveOutcome::Saved:
        break;
    }
    return SendResult::Sent;
}

// The worst that became of any.
void add(Sending& sending, const SaveWish& wish, const SaveAnswer& answer)
{
    sending.result = std::max(sending.result, resultOf(answer.outcome));
    if (isSettingDocument(wish.strDocument)) {
        ++sending.nSettings;
    } else {
        sending.nRevision = answer.nRevision;
        sending.nHead = answer.nHead;
    }
}

Sending sendAll(const Desk& desk, CStore& store, MachineState& state, Wishes& wishes, SendBase base)
{
    Sending sending;
    if (base == SendBase::Server) {
        sending.error = putOnHeads(wishes, store);
    }
    for (SaveWish& wish : wishes) {
        wish.id = saveId(wish);
    }
    noteSending(desk, state, wishes);
    auto answer
        = sending.error ? Answer<QVector<SaveAnswer>> { sending.error } : store.save(wishes);
    for (int i = 0; !answer.error && i < wishes.size(); ++i) {
        answer.error = putOnTop(store, wishes[i], answer.value[i]);
    }
    if (answer.error) {
        return { SendResult::Failed, answer.error };
    }
    for (int i = 0; i < wishes.size(); ++i) {
        add(sending, wishes[i], answer.value[i]);
        note(state, wishes[i], answer.value[i]);
    }
    state.error = StateError::None;
    if (!writeState(desk.strConfigDir, state)) {
        sending.result = SendResult::NotNoted;
    }
    return sending;
}

MachineState stateOf(const Desk& desk)
{
    MachineState state = knownState(desk);
    if (desk.arrangement.isKnown()) {
        state.strArrangement = desk.arrangement.name();
    }
    return state;
}

// An aside that nobody has resolved is a conflict still.
SendResult resultWithout(const MachineState& state, bool whole)
{
    const bool bConflict = !state.documents.value(c_szUserDocument).aside.isEmpty();
    return !whole ? SendResult::NotWhole : bConflict ? SendResult::Conflict : SendResult::InStep;
}

} // namespace

MachineState knownState(const Desk& desk)
{
    MachineState state = readState(desk.strConfigDir);
    if (const auto here = desk.settings.all ? desk.settings.all() : std::nullopt) {
        forgetLostSettings(*here, state);
    }
    return state;
}

Sending send(const Desk& desk, CStore& store, SendBase base, const QString& reason)
{
    MachineState state = stateOf(desk);
    Wishes wishes = settingWishes(desk, state, reason);
    const std::optional<QByteArray> text = outgoingLive(desk);
    const bool bOverServer = base == SendBase::Server;
    const DocumentState known = state.documents.value(c_szUserDocument);
    if (text && (bOverServer || (isNew(known, *text) && !isAside(known, *text)))) {
        wishes.prepend(wishOf(desk, state, c_szUserDocument, *text, reason));
    }
    if (wishes.isEmpty()) {
        return { resultWithout(state, text.has_value()) };
    }
    Sending sending = sendAll(desk, store, state, wishes, base);
    const bool bSent = sending.result == SendResult::Sent;
    sending.result = bSent ? std::max(SendResult::Sent, resultWithout(state, text.has_value()))
                           : sending.result;
    return sending;
}

Sending sendAside(const Desk& desk, CStore& store, const QByteArray& live)
{
    MachineState state = stateOf(desk);
    const std::optional<QByteArray> text = outgoingText(live);
    if (!text || digestOf(text) == state.documents.value(c_szUserDocument).digest) {
        return { text ? SendResult::InStep : SendResult::NotWhole };
    }
    Wishes wishes { wishOf(desk, state, c_szUserDocument, *text,
                           QStringLiteral("a save that did not reach the file")) };
    wishes.first().bAside = true;
    return sendAll(desk, store, state, wishes, SendBase::Known);
}

Sending sendHeld(const Desk& desk, CStore& store, const QString& section, SendBase base)
{
    const inspect::FileBytes live = inspect::readSavedBytes(inspect::livePath(desk.strConfigDir));
    const std::optional<QByteArray> text = heldText(live.bytes, section);
    if (live.state != inspect::FileState::Whole || !text) {
        return { SendResult::NotWhole };
    }
    MachineState state = stateOf(desk);
    const QString strDocument = heldDocument(section);
    const DocumentState known = state.documents.value(strDocument);
    if (base == SendBase::Known && isAside(known, *text)) {
        return { SendResult::Conflict };
    }
    if (base == SendBase::Known && !isNew(known, *text)) {
        return {};
    }
    Wishes wishes { wishOf(desk, state, strDocument, *text, QStringLiteral("asked for by name")) };
    return sendAll(desk, store, state, wishes, base);
}

bool isUnsent(const Desk& desk, const MachineState& state)
{
    const std::optional<QByteArray> text = outgoingLive(desk);
    return text && digestOf(*text) != state.documents.value(c_szUserDocument).digest;
}

int unsentSettings(const Desk& desk, const MachineState& state)
{
    return settingWishes(desk, state, {}).size();
}

int newSettings(const QVector<Head>& heads, const MachineState& state)
{
    return static_cast<int>(std::count_if(heads.begin(), heads.end(), [&](const Head& head) {
        return isSettingDocument(head.strDocument)
            && head.revision.nNumber > state.documents.value(head.strDocument).nBase;
    }));
}

bool isRewound(const Revision& head, const DocumentState& known)
{
    return head.nNumber < known.nBase
        || (head.nNumber == known.nBase && !known.head.isEmpty() && head.digest != known.head);
}

} // namespace roaming
