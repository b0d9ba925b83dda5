#pragma once
// Naming helpers of the resolution of a message's keys (Resolution.cpp).

#include "UIRemoteControl.h"

class QWindow;

// The path a message names: parobjname.objname, or objname alone; "object <n>" for a handle.
QString ArgumentsPath(const ArgumentMap &args);
// Whether a message of an extension word names an object: a handle, or a non-empty objname.
bool NamesObject(const ArgumentMap &args);

// The window of that name, or the nameless window whose WindowName it is; no fallback to the
// default window, so that a made-up name fails. Null for an empty name.
QWindow *WindowNamed(const QString &name);

// The name by which winobjname finds a window: its objectName; for a window without one (a
// QQuickView, a window made in C++), its root item's objectName, else the root item's QML id,
// else its type and its place among the top-level windows ("QuickView#0"). Never empty.
QString WindowName(QWindow *window);
