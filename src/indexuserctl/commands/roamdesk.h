#pragma once

#include "commands.h"
#include "failure.h"

#include <roaming/prepare.h>
#include <roaming/sending.h>

// What the commands share that bring a user's directory and the server together.

/// This user on this computer, as far as the command line tells.
roaming::Desk deskOf(const Request& request);

/// What this tool stores in somebody's name is another machine's: all of the user's take it as they
/// take each other's, this one, too.
roaming::Machine supportMachine(const Request& request);

/// Takes the right to be in touch with the server for this directory. Throws CFailure when a client
/// has it, which sends and fetches by itself.
void requireTouch(const Request& request, roaming::CStateLock& lock);

/// Throws CFailure for a live file that cannot be sent.
void requireWhole(const Request& request);

/// Puts the newest revision in the place of the file, as a client does before its first load, and
/// prints what became of that. Negative where the file stays though there is a newer revision.
/// Throws CFailure.
ExitStatus pullHere(const Request& request, roaming::Taking taking = roaming::Taking::Newer);

/// Prints what became of a sending. Negative where it did not become the newest revision. Throws
/// CFailure for one that failed.
ExitStatus tellSending(const Request& request, const roaming::Sending& sending);

/// Throws CFailure where the state beside the live file could not be written.
void requireNoted(const Request& request, bool noted);

/// "revision 7 of desk-a".
QString toText(const roaming::Revision& revision);
