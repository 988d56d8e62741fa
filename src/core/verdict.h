#pragma once

class QString;

namespace korvex {

// How a sign-in ends: the only routines that end the event loop with a result. Each logs why. The
// first verdict of a sign-in stands; a later one is only noted. GUI thread.

/// Ends the event loop with 1. Returns the verdict that stands: true for granted.
bool grant(const QString& reason);

/// Ends the event loop with 0. Returns the verdict that stands: false for denied.
bool deny(const QString& reason);

/// Ends the event loop with -1: the offline screen that has to judge the user cannot be built.
void giveUpOfflineScreen();

/// Whether this sign-in has its verdict; then nothing more may be started for it.
bool verdictGiven();

/// Opens the next sign-in.
void clearVerdict();

} // namespace korvex
