#pragma once
// Object handles: a number that names one object for as long as the remote control lives,
// whatever happens to the paths around it. The same object always gets the same handle, and a
// handle is never given twice, so a handle of a destroyed object keeps naming nothing.
//
// Objects are held guarded: the table never reads an object it did not see alive just now. The
// keys of the object side are addresses only (never followed), checked against the guard, so a
// new object at a freed address gets a handle of its own.

#include "UIRemoteControlGlobal.h"

#include <QHash>
#include <QPointer>
#include <QString>

class QObject;

class UIREMOTECONTROL_EXPORT ObjectHandles {
public:
    // Handles held at once; entries of destroyed objects are let go when the table fills up.
    static const int kMaxHandles = 100000;

    // The handle of a living object; 0, with the reason, when the table is full of living ones.
    int HandleOf(QObject *object, QString *reason);
    // The object of a handle; null, with the reason, for one destroyed since or never given.
    QObject *ObjectOf(qint64 handle, QString *reason) const;
    int Size() const { return int(m_objects.size()); }

private:
    void ReleaseDestroyed();

    QHash<const QObject *, int> m_handles;   // address -> handle, valid while its guard lives
    QHash<int, QPointer<QObject>> m_objects; // handle -> the object, null once destroyed
    int m_next = 1; // handles below it not in m_objects belonged to objects destroyed since
};
