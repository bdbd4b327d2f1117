#include "roaming/fetch_p.h"

#include "roaming/policy.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace roaming {

namespace {

// What the thread shares with who waits for it, or has given up.
struct Mailbox {
    std::mutex mutex;
    std::condition_variable arrived;
    std::optional<Fetched> fetched;
};

bool isWanted(const Head& head, const MachineState& state)
{
    const auto setting = settingOf(head.strDocument, {});
    const bool bWanted = head.strDocument == QLatin1String(c_szUserDocument)
        || (setting && !isLocalSetting(setting->strSection, setting->strKey));
    return bWanted && head.revision.nNumber > state.documents.value(head.strDocument).nBase;
}

Answer<bool> hasOthers(CStore& store, const Desk& desk, const QString& document, qint64 base)
{
    const auto revisions = store.revisions(document, base, 0);
    return { revisions.error,
             std::any_of(revisions.value.begin(), revisions.value.end(), [&](const Revision& each) {
                 return !each.bAside && each.machine.id != desk.machine.id;
             }) };
}

StoreError fetchNews(CStore& store, const Desk& desk, const MachineState& state, Fetched& fetched)
{
    for (const Head& head : qAsConst(fetched.heads)) {
        if (isWanted(head, state)) {
            const auto text = store.text(head.strDocument, head.revision.nNumber);
            const auto others = text.error
                ? Answer<bool> { text.error }
                : hasOthers(store, desk, head.strDocument,
                            state.documents.value(head.strDocument).nBase);
            if (others.error) {
                return others.error;
            }
            fetched.news.append({ head, text.value, others.value });
        }
    }
    return {};
}

// The head itself, if it is of this arrangement.
StoreError fetchLayouts(CStore& store, const Desk& desk, Fetched& fetched)
{
    const bool bNews
        = std::any_of(fetched.news.begin(), fetched.news.end(), [](const FetchedDocument& each) {
              return each.head.strDocument == QLatin1String(c_szUserDocument);
          });
    if (!desk.arrangement.isKnown() || !bNews) {
        return {};
    }
    const auto newest = store.newestWith(c_szUserDocument, desk.arrangement.name());
    if (newest.error || newest.value.nNumber == 0) {
        return newest.error;
    }
    const auto text = store.text(c_szUserDocument, newest.value.nNumber);
    fetched.ownLayouts = text.error ? std::nullopt : std::make_optional(text.value);
    return text.error;
}

// What is overwritten here on the first start of a machine is known to nobody else.
StoreError keepSettings(CStore& store, const Desk& desk, const Fetched& fetched)
{
    QVector<SaveWish> wishes;
    const auto all = desk.settings.all ? desk.settings.all() : std::nullopt;
    const QVector<SharedSetting> here = all.value_or(QVector<SharedSetting>());
    for (const SharedSetting& setting : here) {
        const QString strDocument = settingDocument(setting);
        const QByteArray text = settingText(setting);
        for (const FetchedDocument& each : fetched.news) {
            if (each.head.strDocument == strDocument && each.text != text) {
                SaveWish wish { strDocument, 0, text, {}, desk.machine };
                wish.strReason = QStringLiteral("was here before the first start");
                wish.bAside = true;
                wish.id = saveId(wish);
                wishes.append(wish);
            }
        }
    }
    return wishes.isEmpty() ? StoreError() : store.save(wishes).error;
}

Fetched fetchFrom(CStore& store, const Desk& desk, const MachineState& state)
{
    Fetched fetched;
    const auto heads = store.heads();
    fetched.heads = heads.value;
    fetched.error = heads.error;
    if (!fetched.error) {
        fetched.error = fetchNews(store, desk, state, fetched);
    }
    if (!fetched.error) {
        fetched.error = fetchLayouts(store, desk, fetched);
    }
    if (!fetched.error && state.isFirst()) {
        fetched.error = keepSettings(store, desk, fetched);
    }
    return fetched;
}

} // namespace

// A name that is looked up, or a host that is connected to, cannot be called back.
Fetched fetch(const Desk& desk, const MachineState& state, const StoreMaker& connect,
              int deadlineMs)
{
    const auto pMailbox = std::make_shared<Mailbox>();
    std::thread([=] {
        Fetched fetched = fetchFrom(*connect(), desk, state);
        const std::lock_guard<std::mutex> lock(pMailbox->mutex);
        pMailbox->fetched = std::move(fetched);
        pMailbox->arrived.notify_one();
    }).detach();
    std::unique_lock<std::mutex> lock(pMailbox->mutex);
    const bool bArrived = pMailbox->arrived.wait_for(lock, std::chrono::milliseconds(deadlineMs),
                                                     [&] { return pMailbox->fetched.has_value(); });
    return bArrived
        ? *pMailbox->fetched
        : Fetched { { StoreCause::Late, QStringLiteral("no answer in time") }, {}, {}, {} };
}

} // namespace roaming
