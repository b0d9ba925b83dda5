#pragma once
// Paths that find objects, for the tree, "find", object-valued properties and the reasons of
// failed searches: the shortest name path when there is one (SceneTree::FindingPaths), else a
// selector path below the nearest object that has one ("panel.{Rectangle}[2]").

#include "UIRemoteControlGlobal.h"

#include <QHash>
#include <QString>
#include <QStringList>

class QObject;

namespace ObjectPaths {

// A path for every object the search reaches from root. One walk in the search's order, linear
// in the objects visited (times the nesting of named objects).
UIREMOTECONTROL_EXPORT QHash<QObject *, QString> All(QObject *root);

// The candidate nearest to path by edit distance (of equals, the shorter, then the
// alphabetically first); empty without candidates.
UIREMOTECONTROL_EXPORT QString Closest(const QStringList &candidates, const QString &path);

// The edit distance of two texts (insertions, deletions and substitutions of one character).
int EditDistance(const QString &a, const QString &b);

} // namespace ObjectPaths
