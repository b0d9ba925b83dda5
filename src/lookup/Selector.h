#pragma once
// Object paths with selectors: a dotted path whose segments are names or, in braces, a choice by
// type and property values, optionally with an index among the matches:
//
//   main.okButton             names, as always
//   {Button}                  the first object of type Button
//   {Button text="Push"}[1]   the second Button whose text is "Push"
//   stackView.{text="Push"}   the first object below stackView whose text is "Push"
//
// Types match the QML type name or the C++ class, with or without the "QQuick" prefix and the
// "_QMLTYPE_n" / "_QML_n" suffix, anywhere on the class chain ({AbstractButton} matches a
// CheckBox). Values are JSON literals compared with the property's value.

#include "UIRemoteControlGlobal.h"

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariant>

class QObject;
class RouteStack;

namespace Selector {

struct Segment {
    QString name;            // a name segment (may be empty: an object without name)
    bool isSelector = false; // braces: type, properties and index below apply
    QString type;            // empty: any type
    QList<QPair<QString, QVariant>> properties;
    int index = 0;           // the n-th match in search order, from 0

    bool operator==(const Segment &other) const;
};

using Path = QList<Segment>;

// Splits a path at the dots outside braces and quotes. False, with a sentence in error, when a
// selector is malformed.
UIREMOTECONTROL_EXPORT bool Parse(const QString &path, Path &segments, QString *error = nullptr);
UIREMOTECONTROL_EXPORT bool HasSelector(const Path &segments);

// Whether the object has the segment's type and property values (the index is not looked at).
UIREMOTECONTROL_EXPORT bool Matches(const Segment &segment, const QObject *object);

// A class name without the "QQuick" prefix and the QML suffixes ("QmlImpl", "_QMLTYPE_n", "_QML_n").
UIREMOTECONTROL_EXPORT QString ShortTypeName(const char *className);
// The object's type as selectors name it: the short name of its class.
UIREMOTECONTROL_EXPORT QString TypeName(const QObject *object);
// The short names of the object's class chain, most derived first, without repeats.
UIREMOTECONTROL_EXPORT QStringList TypeChain(const QObject *object);
UIREMOTECONTROL_EXPORT bool HasType(const QObject *object, const QString &type);

// The property value of an object as selectors and the tree read it: attached and dotted
// properties included. Invalid when the object has no such property.
UIREMOTECONTROL_EXPORT QVariant ReadProperty(const QObject *object, const QString &name);

// Whether a person could see the object: an item that is visible (it and every parent item),
// not fully transparent (it or a parent item at opacity 0) and in a visible window; a window
// that is visible; a popup that is open; any other object as the nearest item, window or popup
// it belongs to (QObject parents), and shown when it belongs to none.
UIREMOTECONTROL_EXPORT bool Shown(const QObject *object);

// The object search for a path with selectors, in the order of the name search (SearchOrder.h):
// depth first, pre-order, each object consuming at most the head segment of the path, the
// object at which the path runs out wins. A selector's index counts its matches below the object
// that consumed the segment before it (each object once), the shown ones (Shown) first, each
// group in search order. route gets the search's snapshots.
UIREMOTECONTROL_EXPORT QObject *Find(QObject *root, const Path &path, RouteStack *route = nullptr);

// The selector text of a segment ("{CheckBox}[2]").
UIREMOTECONTROL_EXPORT QString Format(const Segment &segment);

} // namespace Selector
