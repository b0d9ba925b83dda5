#pragma once
// What the tools built on the library share about a live scene: the object tree with its
// delegates, QML ids, the name paths that find objects, the window of a root and its image.

#include "UIRemoteControlGlobal.h"

#include <QHash>
#include <QImage>
#include <QList>
#include <QString>

#include <functional>

class QObject;
class QQuickWindow;

namespace SceneTree {

// An object's children plus its visual children that live elsewhere in the object tree
// (delegates of views and repeaters, items without QObject parent), and for the popups' overlay
// the popups no QObject parent ties to the scene (the shared ToolTip) in place of their items.
UIREMOTECONTROL_EXPORT QList<QObject *> Children(QObject *object);

// Visits every object below root once, depth first, pre-order, through Children();
// visit(object, depth) returns false to leave that object's subtree out.
UIREMOTECONTROL_EXPORT void Walk(QObject *root, const std::function<bool(QObject *, int)> &visit);

// The object's QML id in the nearest context that names it, else an empty string.
UIREMOTECONTROL_EXPORT QString QmlId(const QObject *object);

// Gives every object below root that has no objectName its QML id as name.
UIREMOTECONTROL_EXPORT void NameFromIds(QObject *root);

// For each object below root, the shortest dotted name path for which the object search starting
// at root returns that very object: its own name when that finds it, else the names of its named
// ancestors on the search's way down to it. Objects no name path finds are left out. One pass in
// the search's own order, linear in the number of objects visited.
UIREMOTECONTROL_EXPORT QHash<QObject *, QString> FindingPaths(QObject *root);

// The window of a scene's root object: the root itself when it is a window, else its item's window.
UIREMOTECONTROL_EXPORT QQuickWindow *WindowOfRoot(QObject *root);

// Call before the application object is made: without a display (no DISPLAY, WAYLAND_DISPLAY or
// QT_QPA_PLATFORM) the offscreen platform, and on it the software scene graph unless set.
UIREMOTECONTROL_EXPORT void PreferHeadless();

// The window as rendered now (null when it cannot be grabbed).
UIREMOTECONTROL_EXPORT QImage Grab(QQuickWindow *window);

} // namespace SceneTree
