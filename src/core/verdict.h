#pragma once

class QString;

namespace korvex {

// How a sign-in ends: only these functions end the event loop with a result. Each logs the reason.
// The first verdict of a sign-in is final; a later one is only logged. GUI thread.

/// Ends the event loop with 1. Returns the final verdict: true for granted.
bool grant(const QString& reason);

/// Ends the event loop with 0. Returns the final verdict: false for denied.
bool deny(const QString& reason);

/// Ends the event loop with -1: the offline screen that has to judge the user cannot be built.
void giveUpOfflineScreen();

/// Whether this sign-in has its verdict; then nothing more may be started for it.
bool verdictGiven();

/// Forgets the verdict, for the next sign-in.
void clearVerdict();

} // namespace korvex
