// What extension mode adds to replies: the reason of a failed search, and object values as
// {"type": ..., "path": ...}.

#include "ControlEngine.h"
#include "QtCompat.h"

#include "ObjectPaths.h"
#include "SceneTree.h"
#include "SearchOrder.h"
#include "Selector.h"

#include <QJSValue>
#include <QSet>
#include <QVector>

#include <algorithm>

namespace {

// Each named object's last `count` names on the search's way down to it ("main.okButton" for
// count 2), as candidates for a mistyped path of that many segments.
void NameTails(QObject *object, QStringList &names, int count, QSet<QObject *> &seen, QStringList &tails)
{
    if (seen.contains(object))
        return;
    seen.insert(object);
    const QString name = object->objectName();
    if (!name.isEmpty()) {
        names.append(name);
        tails.append(names.mid(qMax(0, names.size() - count)).join(QLatin1Char('.')));
    }
    for (QObject *child : SearchOrder::Children(object))
        NameTails(child, names, count, seen, tails);
    if (!name.isEmpty())
        names.removeLast();
}

} // namespace

QString ControlEngine::NoMatchReason(const QString &path) const
{
    if (!m_root)
        return QStringLiteral("no object matches %1: the root object is gone").arg(path);
    Selector::Path segments;
    if (Selector::Parse(path, segments) && Selector::HasSelector(segments))
        return QStringLiteral("no object matches %1").arg(path);
    QStringList candidates = SceneTree::FindingPaths(m_root).values();
    QStringList names;
    QSet<QObject *> seen;
    NameTails(m_root, names, path.count(QLatin1Char('.')) + 1, seen, candidates);
    const QString closest = ObjectPaths::Closest(candidates, path);
    // A suggestion only for a slip: a third of the path's characters at most (two for short ones).
    if (closest.isEmpty() || ObjectPaths::EditDistance(closest, path) > qMax(2, int(path.size()) / 3))
        return QStringLiteral("no object matches %1").arg(path);
    return QStringLiteral("no object matches %1; closest: %2").arg(path, closest);
}

namespace {

// Converts object values (also inside lists and maps); the paths are computed on first need.
QVariant Convert(const QVariant &value, QObject *root, QHash<QObject *, QString> &paths, bool &computed,
                 ObjectHandles *handles)
{
    QVariant plain = value;
    if (plain.userType() == qMetaTypeId<QJSValue>())
        plain = plain.value<QJSValue>().toVariant();
    if (plain.userType() == QMetaType::QVariantList) {
        QVariantList list = plain.toList();
        for (QVariant &element : list)
            element = Convert(element, root, paths, computed, handles);
        return list;
    }
    if (plain.userType() == QMetaType::QVariantMap) {
        QVariantMap map = plain.toMap();
        for (QVariant &element : map)
            element = Convert(element, root, paths, computed, handles);
        return map;
    }
    if (!(QtCompat::TypeFlags(plain.userType()) & QMetaType::PointerToQObject))
        return plain;
    QObject *object = plain.value<QObject *>();
    if (!object)
        return QVariant::fromValue(nullptr);
    if (!computed) {
        paths = ObjectPaths::All(root);
        computed = true;
    }
    const auto path = paths.constFind(object);
    QVariantMap reply{{QStringLiteral("type"), Selector::TypeName(object)},
                      {QStringLiteral("path"), path == paths.constEnd() ? QVariant::fromValue(nullptr) : QVariant(*path)}};
    if (handles) {
        QString full;
        const int handle = handles->HandleOf(object, &full);
        reply.insert(QStringLiteral("handle"), handle ? QVariant(handle) : QVariant::fromValue(nullptr));
    }
    return reply;
}

} // namespace

QVariant ControlEngine::ReplyValue(const QVariant &value, bool withHandles) const
{
    QHash<QObject *, QString> paths;
    bool computed = false;
    return Convert(value, m_root, paths, computed, withHandles ? &m_handles : nullptr);
}
