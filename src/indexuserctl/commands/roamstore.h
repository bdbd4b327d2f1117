#pragma once

#include "commands.h"
#include "failure.h"

#include <roaming/connection.h>

// What all commands that ask the server share.

/// How the server is reached, and whose documents are meant.
roaming::ConnectionOptions connectionOf(const Request& request);

/// The documents of this person or, with --user, of another. A server that cannot be reached is
/// told by the first answer.
std::unique_ptr<roaming::CStore> openStore(const Request& request);

/// An error of the store in few words, and as it ends a command.
QString storeCauseText(const roaming::StoreError& error);
CFailure storeFailure(const roaming::StoreError& error);

void requireAnswer(const roaming::StoreError& error);

template <typename T> T required(roaming::Answer<T> answer)
{
    requireAnswer(answer.error);
    return std::move(answer.value);
}

/// The head of a document; its number is 0 where there is none.
roaming::Revision headIn(const QVector<roaming::Head>& heads,
                         const QString& document = roaming::c_szUserDocument);
roaming::Revision headOf(roaming::CStore& store,
                         const QString& document = roaming::c_szUserDocument);

/// The one that a word of the command line names; throws CFailure for none.
roaming::Revision revisionOf(roaming::CStore& store, const QString& word);
