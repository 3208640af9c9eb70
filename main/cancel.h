// Ctrl-C: the first one asks long operations to stop, so that nothing is left behind; a second one
// ends the process.
#pragma once

// From now on, unless the process ignores the signal.
void InstallCancel();
// For code that runs inside of a process which hears Ctrl-C by itself: from now on `asked` tells
// whether the user has asked to stop, and InstallCancel() leaves the signal alone.
void SetCancelHost(bool (*asked)());
// Whether the user has asked to stop.
[[nodiscard]] bool CancelAsked();
