// Object handles (ObjectHandles.h).

#include "ObjectHandles.h"

#include <QObject>

#include <limits>

int ObjectHandles::HandleOf(QObject *object, QString *reason)
{
    const auto known = m_handles.constFind(object);
    if (known != m_handles.constEnd()) {
        const QPointer<QObject> guard = m_objects.value(*known);
        if (guard == object)
            return *known;
        // The address of a destroyed object, used again by a new one.
        m_objects.remove(*known);
        m_handles.erase(known);
    }
    if (m_objects.size() >= kMaxHandles)
        ReleaseDestroyed();
    if (m_objects.size() >= kMaxHandles || m_next == std::numeric_limits<int>::max()) {
        *reason = QStringLiteral("%1 objects hold handles already").arg(kMaxHandles);
        return 0;
    }
    const int handle = m_next++;
    m_handles.insert(object, handle);
    m_objects.insert(handle, object);
    return handle;
}

QObject *ObjectHandles::ObjectOf(qint64 handle, QString *reason) const
{
    const auto found = m_objects.constFind(int(handle));
    if (handle > 0 && handle < m_next && found != m_objects.constEnd() && !found->isNull())
        return found->data();
    // Every handle below m_next was given once; those no longer held were let go as destroyed.
    if (handle > 0 && handle < m_next)
        *reason = QStringLiteral("object %1 was destroyed").arg(handle);
    else
        *reason = QStringLiteral("no object has the handle %1").arg(handle);
    return nullptr;
}

// Lets go of the entries of destroyed objects; their handles keep answering "destroyed".
void ObjectHandles::ReleaseDestroyed()
{
    for (auto it = m_objects.begin(); it != m_objects.end();) {
        if (it->isNull()) {
            it = m_objects.erase(it);
        } else {
            ++it;
        }
    }
    for (auto it = m_handles.begin(); it != m_handles.end();) {
        if (!m_objects.contains(*it))
            it = m_handles.erase(it);
        else
            ++it;
    }
}
