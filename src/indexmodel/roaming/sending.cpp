#include "roaming/sending.h"

#include "roaming/digest_p.h"
#include "roaming/policy.h"
#include "roaming/roamingtext.h"

#include <inspect/userfile.h>

#include <algorithm>

namespace roaming {

namespace {

using Wishes = QVector<SaveWish>;

std::optional<QByteArray> outgoingLive(const Desk& desk)
{
    const inspect::FileBytes live = inspect::readSavedBytes(inspect::livePath(desk.strConfigDir));
    return live.state == inspect::FileState::Whole ? outgoingText(live.bytes) : std::nullopt;
}

// What was stored as an aside already is not sent a second time. Where the answer was lost, another
// text may be the head, though here it is again as it was before.
bool isNew(const DocumentState& known, const QByteArray& text)
{
    const QByteArray digest = digestOf(text);
    const bool bLost = !known.sent.isEmpty() && known.sent != digest;
    return (digest != known.digest || bLost) && digest != known.aside;
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
    QVector<SharedSetting> gone;
    for (auto it = state.documents.begin(); it != state.documents.end(); ++it) {
        if (isSettingDocument(it.key()) && !here.contains(it.key())) {
            gone.append(settingOf(it.key(), {}).value_or(SharedSetting()));
        }
    }
    // Nobody removes several at once, and with them all there is: the store itself is lost.
    return all->isEmpty() && gone.size() > 1 ? settings : settings + gone;
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
    DocumentState& document = state.documents[wish.strDocument];
    const QByteArray digest = digestOf(wish.text);
    document.sent.clear();
    if (answer.outcome == SaveOutcome::Saved) {
        document = { answer.nRevision, digest, {}, digest };
    } else if (answer.outcome == SaveOutcome::Aside) {
        document.aside = digest;
    }
}

// So that this is known again when the answer never comes. A disk that does not take the note is no
// reason not to send.
void noteSending(const Desk& desk, MachineState& state, const Wishes& wishes)
{
    for (const SaveWish& wish : wishes) {
        state.documents[wish.strDocument].sent = digestOf(wish.text);
    }
    writeState(desk.strConfigDir, state);
}

// Of a setting the last writer's value holds, since nobody could choose; the other's is the
// revision before it.
StoreError putSettingsOnTop(CStore& store, Wishes& wishes, QVector<SaveAnswer>& answers)
{
    for (int i = 0; i < wishes.size(); ++i) {
        if (answers[i].outcome == SaveOutcome::Aside && isSettingDocument(wishes[i].strDocument)) {
            wishes[i].nBase = answers[i].nHead;
            wishes[i].baseDigest.clear();
            wishes[i].id = saveId(wishes[i]);
            const auto again = store.save({ wishes[i] });
            if (again.error) {
                return again.error;
            }
            answers[i] = again.value.first();
        }
    }
    return {};
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
    if (!answer.error) {
        answer.error = putSettingsOnTop(store, wishes, answer.value);
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
    MachineState state = readState(desk.strConfigDir);
    if (desk.arrangement.isKnown()) {
        state.strArrangement = desk.arrangement.name();
    }
    return state;
}

// Asides that nobody has resolved are a conflict still.
SendResult resultWithout(const MachineState& state, bool whole)
{
    const bool bConflict
        = std::any_of(state.documents.begin(), state.documents.end(),
                      [](const DocumentState& each) { return !each.aside.isEmpty(); });
    return !whole ? SendResult::NotWhole : bConflict ? SendResult::Conflict : SendResult::InStep;
}

} // namespace

Sending send(const Desk& desk, CStore& store, SendBase base, const QString& reason)
{
    MachineState state = stateOf(desk);
    Wishes wishes = settingWishes(desk, state, reason);
    const std::optional<QByteArray> text = outgoingLive(desk);
    const bool bOverServer = base == SendBase::Server;
    if (text && (bOverServer || isNew(state.documents.value(c_szUserDocument), *text))) {
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
    if (!text || !isNew(state.documents.value(c_szUserDocument), *text)) {
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
    if (base == SendBase::Known && !isNew(state.documents.value(strDocument), *text)) {
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
