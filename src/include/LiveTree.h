#pragma once
// The live object tree as "tree" replies it and uiremote-host --dump-tree prints it.

#include "UIRemoteControlGlobal.h"

#include <QHash>
#include <QVariantMap>

class QObject;

namespace LiveTree {

// The tree below top (root's whole scene when top is root), down to maxDepth levels below top
// (negative: all). Each node: "label" (objectName, else class name), "type" (as selectors name
// it), "path" (one that finds the object from root, null when none does), "id" when the object
// has a QML id; for items "rect" (scene x, y, width, height), "visible" (shown: visible in a shown window), "enabled",
// for the top items of a window "window" (the name winobjname takes; a nameless window's label is
// that name too); "text",
// "checked", "value", "currentIndex" where the object has them; "children" (a list). One walk
// over the objects, plus the one of ObjectPaths::All.
UIREMOTECONTROL_EXPORT QVariantMap Build(QObject *root, QObject *top, int maxDepth = -1);
// As Build, with the paths already computed (ObjectPaths::All(root)).
UIREMOTECONTROL_EXPORT QVariantMap Build(QObject *top, const QHash<QObject *, QString> &paths, int maxDepth);

// The node without its children, for one object.
UIREMOTECONTROL_EXPORT QVariantMap Describe(QObject *object, const QHash<QObject *, QString> &paths);

} // namespace LiveTree
