// Ctrl-C: the first one asks long operations to stop, so that nothing is left behind; a second one
// ends the process.
#pragma once

// From now on, unless the process ignores the signal.
void InstallCancel();
// Whether the user has asked to stop.
[[nodiscard]] bool CancelAsked();
