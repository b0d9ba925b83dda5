// The extension words that look at the scene: "tree" (the live object tree) and "find" (the
// paths of the objects whose property has a value).

#include "ControlEngine.h"

#include "LiveTree.h"
#include "ObjectPaths.h"
#include "SearchOrder.h"
#include "Selector.h"

#include <QSet>

namespace {

// The subtree a request names with "objname" (and "parobjname") or "handle", else the root.
bool HasSubtree(const ArgumentMap &args)
{
    return NamesObject(args) ||
           !args.value(QStringLiteral("parobjname")).toString().isEmpty();
}

} // namespace

bool ControlEngine::DoTree(const ArgumentMap &args, QVariant &value)
{
    if (!m_root) {
        SetFailureReason(QStringLiteral("the root object is gone"));
        return false;
    }
    QObject *top = HasSubtree(args) ? FindNamedQMLObject(args) : m_root.data();
    if (!top)
        return false;
    bool ok = true;
    const int depth = args.contains(QStringLiteral("depth")) ? args.value(QStringLiteral("depth")).toInt(&ok) : -1;
    if (!ok) {
        SetFailureReason(QStringLiteral("depth must be a number"));
        return false;
    }
    value = LiveTree::Build(m_root, top, depth);
    return true;
}

bool ControlEngine::DoFind(const ArgumentMap &args, QVariant &value)
{
    if (!m_root) {
        SetFailureReason(QStringLiteral("the root object is gone"));
        return false;
    }
    const QString property = args.value(QStringLiteral("property")).toString();
    const QString type = args.value(QStringLiteral("type")).toString();
    if (property.isEmpty() && type.isEmpty()) {
        SetFailureReason(QStringLiteral("find needs a property (and value) or a type"));
        return false;
    }
    QObject *top = HasSubtree(args) ? FindNamedQMLObject(args) : m_root.data();
    if (!top)
        return false;
    // Without "value", objects that have the property at all match.
    Selector::Segment wanted;
    wanted.isSelector = true;
    wanted.type = type;
    const bool anyValue = !args.contains(QStringLiteral("value"));
    if (!property.isEmpty() && !anyValue)
        wanted.properties.append(qMakePair(property, args.value(QStringLiteral("value"))));
    const QHash<QObject *, QString> paths = ObjectPaths::All(m_root);
    QVariantList found;
    QSet<QObject *> seen;
    const std::function<void(QObject *)> visit = [&](QObject *object) {
        if (seen.contains(object))
            return;
        seen.insert(object);
        if (Selector::Matches(wanted, object) &&
            (!anyValue || property.isEmpty() || Selector::ReadProperty(object, property).isValid())) {
            const auto path = paths.constFind(object);
            found.append(path == paths.constEnd() ? QVariant::fromValue(nullptr) : QVariant(*path));
        }
        for (QObject *child : SearchOrder::Children(object))
            visit(child);
    };
    visit(top);
    value = found;
    return true;
}
