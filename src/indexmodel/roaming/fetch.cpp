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

// What has become of the user's document since the base, which comes along.
StoreError fetchPast(CStore& store, const Desk& desk, const DocumentState& known,
                     FetchedDocument& news)
{
    const auto revisions
        = store.revisions(news.head.strDocument, std::max<qint64>(known.nBase - 1, 0), 0);
    // The newest first, and of two asides of one text the newest counts.
    bool bAside = false;
    for (const Revision& each : revisions.value) {
        const bool bBase = each.nNumber == known.nBase;
        news.bRewound
            = news.bRewound || (bBase && !known.head.isEmpty() && each.digest != known.head);
        news.bOthers
            = news.bOthers || (!bBase && !each.bAside && each.machine.id != desk.machine.id);
        const bool bOurs = each.bAside && each.digest == known.aside;
        news.bChosen = news.bChosen || (bOurs && !bAside && each.bResolved);
        bAside = bAside || bOurs;
        if (each.nNumber > known.nBase && !each.bAside) {
            news.since.append(each.digest);
        }
    }
    return revisions.error;
}

// All texts in one round trip: a desk may have many settings.
StoreError fetchNews(CStore& store, const Desk& desk, const MachineState& state, Fetched& fetched)
{
    QVector<RevisionName> names;
    for (const Head& head : qAsConst(fetched.heads)) {
        if (isWanted(head, state)) {
            names.append({ head.strDocument, head.revision.nNumber });
            fetched.news.append({ head, {} });
        }
    }
    const auto texts = store.texts(names);
    StoreError error = texts.error;
    for (int i = 0; !error && i < names.size(); ++i) {
        FetchedDocument& news = fetched.news[i];
        news.text = texts.value[i];
        if (names[i].strDocument == QLatin1String(c_szUserDocument)) {
            error = fetchPast(store, desk, state.documents.value(names[i].strDocument), news);
        }
    }
    return error;
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

// What is overwritten here at its first meeting with the server is known to nobody else.
StoreError keepSettings(CStore& store, const Desk& desk, const MachineState& state,
                        const QVector<SharedSetting>& here, const Fetched& fetched)
{
    QVector<SaveWish> wishes;
    for (const SharedSetting& setting : here) {
        const QString strDocument = settingDocument(setting);
        const QByteArray text = settingText(setting);
        const bool bFirst = state.documents.value(strDocument).nBase == 0;
        for (const FetchedDocument& each : fetched.news) {
            if (bFirst && each.head.strDocument == strDocument && each.text != text) {
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

Fetched fetchFrom(CStore& store, const Desk& desk, const MachineState& state,
                  const QVector<SharedSetting>& here)
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
    if (!fetched.error) {
        fetched.error = keepSettings(store, desk, state, here, fetched);
    }
    return fetched;
}

} // namespace

// A name that is looked up, or a host that is connected to, cannot be called back.
Fetched fetch(const Desk& desk, const MachineState& state, const StoreMaker& connect,
              int deadlineMs)
{
    const auto pMailbox = std::make_shared<Mailbox>();
    const auto all = desk.settings.all ? desk.settings.all() : std::nullopt;
    const QVector<SharedSetting> here = all.value_or(QVector<SharedSetting>());
    std::thread([=] {
        Fetched fetched = fetchFrom(*connect(), desk, state, here);
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
