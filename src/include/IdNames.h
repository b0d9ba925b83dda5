#pragma once
// Names from ids: objects without an objectName take their QML id as name, so that a path of
// ids finds them.
//
// The objects are named once, as they are met: Enable() names the tree that exists, and from
// then on Qt's object-creation hooks collect the objects created on the GUI thread, which
// NameNewObjects() names before the next control. A message therefore costs nothing for this
// when no object was created since the last one, however large the scene; delegates created
// later (a list scrolled, a page pushed) are named before the message that looks for them.

#include "UIRemoteControlGlobal.h"

class QObject;

namespace IdNames {

// Installs the hooks (once per process) and names every object reachable from root.
UIREMOTECONTROL_EXPORT void Enable(QObject *root);

// Names the objects created since the last call; nothing to do when there are none.
UIREMOTECONTROL_EXPORT void NameNewObjects();

} // namespace IdNames
