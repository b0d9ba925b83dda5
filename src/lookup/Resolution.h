#pragma once
// Naming helpers of the resolution of a message's keys (Resolution.cpp).

#include "UIRemoteControl.h"

class QWindow;

// The path a message names: parobjname.objname, or objname alone.
QString ArgumentsPath(const ArgumentMap &args);

// The window of that name, or a nameless window (a QQuickView) whose root item has it; no
// fallback to the default window, so that a made-up name fails. Null for an empty name.
QWindow *WindowNamed(const QString &name);
