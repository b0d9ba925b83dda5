// The live object tree: one node per object, built in one walk (SceneTree::Walk).

#include "LiveTree.h"

#include "ObjectPaths.h"
#include "Resolution.h"
#include "SceneTree.h"
#include "Selector.h"

#include <QJSValue>
#include <QMetaProperty>
#include <QQuickItem>
#include <QQuickWindow>
#include <QVector>

#include <vector>

namespace LiveTree {

namespace {

// The node under construction: its fields and its children, turned into variants bottom-up.
struct Node {
    QVariantMap fields;
    std::vector<int> children;
};

QVariant Assemble(std::vector<Node> &nodes, int index)
{
    QVariantList children;
    children.reserve(int(nodes[index].children.size()));
    for (int child : nodes[index].children)
        children.append(Assemble(nodes, child));
    QVariantMap fields = std::move(nodes[index].fields);
    fields.insert(QStringLiteral("children"), children);
    return fields;
}

// The state properties a test usually wants to see, read when the class has them.
void AddState(QObject *object, QVariantMap &fields)
{
    const QMetaObject *meta = object->metaObject();
    for (const char *name : {"text", "checked", "value", "currentIndex"}) {
        const int index = meta->indexOfProperty(name);
        if (index < 0)
            continue;
        QVariant value = meta->property(index).read(object);
        if (value.userType() == qMetaTypeId<QJSValue>())
            value = value.value<QJSValue>().toVariant();
        if (value.canConvert<QObject *>() && value.userType() >= QMetaType::User)
            continue; // an object-valued "value" is no state to show
        fields.insert(QLatin1String(name), value);
    }
}

} // namespace

QVariantMap Describe(QObject *object, const QHash<QObject *, QString> &paths)
{
    QVariantMap fields;
    const QString name = object->objectName();
    // A window without a name is labelled by the name winobjname finds it by (Resolution.h).
    auto *window = qobject_cast<QWindow *>(object);
    const QString fallback = window ? WindowName(window) : QString::fromLatin1(object->metaObject()->className());
    fields.insert(QStringLiteral("label"), name.isEmpty() ? fallback : name);
    fields.insert(QStringLiteral("type"), Selector::TypeName(object));
    const auto path = paths.constFind(object);
    fields.insert(QStringLiteral("path"), path == paths.constEnd() ? QVariant::fromValue(nullptr) : QVariant(*path));
    const QString id = SceneTree::QmlId(object);
    if (!id.isEmpty())
        fields.insert(QStringLiteral("id"), id);
    if (auto *item = qobject_cast<QQuickItem *>(object)) {
        const QRectF rect = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
        fields.insert(QStringLiteral("rect"), QVariantMap{{QStringLiteral("x"), rect.x()},
                                                          {QStringLiteral("y"), rect.y()},
                                                          {QStringLiteral("width"), rect.width()},
                                                          {QStringLiteral("height"), rect.height()}});
        // Shown: visible itself and in a shown window.
        fields.insert(QStringLiteral("visible"), item->isVisible() && item->window() && item->window()->isVisible());
        fields.insert(QStringLiteral("enabled"), item->isEnabled());
        // The top item of a window (that of a QQuickView serves as the root) tells the name of its
        // window, as winobjname takes it.
        if (item->window() && item->parentItem() == item->window()->contentItem())
            fields.insert(QStringLiteral("window"), WindowName(item->window()));
    }
    AddState(object, fields);
    return fields;
}

QVariantMap Build(QObject *top, const QHash<QObject *, QString> &paths, int maxDepth)
{
    if (!top)
        return {};
    std::vector<Node> nodes;
    QVector<int> stack; // the open node at each depth
    SceneTree::Walk(top, [&](QObject *object, int depth) {
        stack.resize(depth);
        const int index = int(nodes.size());
        nodes.push_back(Node{Describe(object, paths), {}});
        if (depth > 0)
            nodes[stack.at(depth - 1)].children.push_back(index);
        stack.append(index);
        return maxDepth < 0 || depth < maxDepth;
    });
    return Assemble(nodes, 0).toMap();
}

QVariantMap Build(QObject *root, QObject *top, int maxDepth)
{
    return Build(top, ObjectPaths::All(root), maxDepth);
}

} // namespace LiveTree
