#pragma once
// Every difference between Qt 5.15 and Qt 6 that the library meets, in one place: each function
// does one thing the way the Qt it is built against wants it done, without a deprecated call.

#include <QMetaType>
#include <QMouseEvent>
#include <QVariant>
#include <QtGlobal>

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
#include <QtTest/qtestmouse.h>
#endif

namespace QtCompat {

// A blank value of a meta type (Qt 6 builds values from a QMetaType, not from a type id).
inline QVariant BlankValue(int type)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return QVariant(QMetaType(type), nullptr);
#else
    return QVariant(type, nullptr);
#endif
}

// Converts a value in place to a meta type; false when it cannot be converted.
inline bool Convert(QVariant &value, int type)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return value.convert(QMetaType(type));
#else
    return value.convert(type);
#endif
}

// The flags of a meta type (PointerToQObject and friends).
inline QMetaType::TypeFlags TypeFlags(int type)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return QMetaType(type).flags();
#else
    return QMetaType::typeFlags(type);
#endif
}

// A value of a meta type copied from the data a signal passes.
inline QVariant MakeValue(int type, const void *data)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return QVariant(QMetaType(type), data);
#else
    return QVariant(type, data);
#endif
}

// The Qt Test library of Qt 5 remembers the last pressed button (for its double-click
// detection); Qt 6 keeps no such state.
inline void SetLastMouseButton([[maybe_unused]] Qt::MouseButton button)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QTest::lastMouseButton = button;
#endif
}

// Where a mouse event happened, in the receiver's coordinates.
inline QPointF LocalPos(const QMouseEvent *event)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return event->position();
#else
    return event->localPos();
#endif
}

} // namespace QtCompat
