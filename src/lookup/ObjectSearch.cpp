// The object path search: depth first, pre-order, first match wins, with route diagnostics.

#include "UIRemoteControl.h"

#include "ControlEngine.h"

#include "RouteStack.h"
#include "SearchOrder.h"
#include "TraceLog.h"

#include <QHash>
#include <QQuickItem>
#include <QQuickWindow>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

QString UIRemoteControl::GetObjectOrClassName(const QObject *object)
{
    if (!object)
        return QString();
    const QString name = object->objectName();
    return name.isEmpty() ? QString::fromLatin1(object->metaObject()->className()) : name;
}

bool UIRemoteControl::isDerivedFrom(const QObject *object, const QStringList &classNames)
{
    return SearchOrder::DerivesFrom(object, classNames);
}

namespace {

// The names of the path from `head` on, dotted, as the trace shows what is left to find.
QString NamesFrom(const QStringList &names, int head)
{
    QString joined;
    for (int i = head; i < names.size(); ++i) {
        if (i > head)
            joined += QLatin1Char('.');
        joined += names.at(i);
    }
    return joined;
}

// The searches that failed, per object: the highest head at which the search below the object
// found nothing. Below an object, the names from a lower head on can be consumed only where those
// from a higher head on can too, so every visit at that head or a lower one fails as well and is
// answered at once. Objects are met again where a repeater's delegates or a view's content are
// reached a second time; without this, nested repeaters cost twice as much per level. The table
// is kept from the first repeater or view on (before it, nothing is met twice), and not while the
// trace log writes every visit, whose lines stay as they always were.
struct Failures {
    QHash<const QObject *, int> highest;
    bool active = false;
    bool unowned = false; // extension mode: SearchOrder::Unowned() too
    bool Known(const QObject *object, int head) const
    {
        const auto it = highest.constFind(object);
        return it != highest.constEnd() && head <= *it;
    }
    void Note(const QObject *object, int head)
    {
        int &known = highest[object]; // 0 when new: at head 0 a fresh entry is exact
        known = qMax(known, head);
    }
};

QObject *FindPath(QObject *parent, const QStringList &names, int head, RouteStack *route, Failures &failures);

QObject *FindPathInRepeater(const QObject *repeater, const QStringList &names, int head, RouteStack *route,
                            Failures &failures)
{
    for (QQuickItem *child : SearchOrder::RepeaterDelegates(repeater)) {
        if (QObject *found = FindPath(child, names, head, route, failures))
            return found;
    }
    return nullptr;
}

QObject *FindPathInFlickable(const QObject *flickable, const QStringList &names, int head, RouteStack *route,
                             Failures &failures)
{
    for (QQuickItem *child : SearchOrder::FlickableDelegates(flickable)) {
        if (QObject *found = FindPath(child, names, head, route, failures))
            return found;
    }
    return nullptr;
}

QObject *FindBelow(QObject *parent, const QStringList &names, int head, RouteStack *route, Failures &failures)
{
    for (QObject *child : parent->children()) {
        if (QObject *found = FindPath(child, names, head, route, failures))
            return found;
    }
    if (SearchOrder::IsRepeater(parent)) {
        failures.active = failures.active || !TraceLog::ShouldLog(TraceLog::Trace, __FILE__, __LINE__);
        if (QObject *found = FindPathInRepeater(parent, names, head, route, failures))
            return found;
    }
    if (SearchOrder::IsFlickable(parent)) {
        failures.active = failures.active || !TraceLog::ShouldLog(TraceLog::Trace, __FILE__, __LINE__);
        if (QObject *found = FindPathInFlickable(parent, names, head, route, failures))
            return found;
    }
    if (failures.unowned) {
        for (QObject *child : SearchOrder::Unowned(parent)) {
            if (QObject *found = FindPath(child, names, head, route, failures))
                return found;
        }
    }
    return nullptr;
}

// The search proper. names[head] is the next name to match; the names before it are matched
// already. The list itself is shared by every step and never copied.
QObject *FindPath(QObject *parent, const QStringList &names, int head, RouteStack *route, Failures &failures)
{
    if (failures.active && failures.Known(parent, head))
        return nullptr;
    SearchOrder::CountVisit();
    const int entered = head;
    // The name is read once: it is also what the next name is compared with (an unnamed
    // object's name is empty, whatever its label).
    const QString name = parent ? parent->objectName() : QString();
    if (TraceLog::ShouldLog(TraceLog::Trace, __FILE__, __LINE__)) {
        // The label is the object's name, else its class name (RouteStack::Label). The address
        // is shown by its low 32 bits, which is what the "%X" conversion takes. FIXED: the log
        // contract fixes these words (TraceLog.h).
        TraceLog::Write("%s, pParent = [%X], name = [%s], objNames = [%s]", "UIRemoteControl::FindQMLObject",
                        static_cast<unsigned>(reinterpret_cast<quintptr>(parent)),
                        RouteStack::Label(parent).toLocal8Bit().constData(),
                        NamesFrom(names, head).toLocal8Bit().constData());
    }
    RouteStackGuard guard(parent, route);
    if (!parent) {
        if (route)
            route->TakeSnapshot(QStringLiteral("invalid argument"));
        return nullptr;
    }
    if (head < names.size() && name == names.at(head))
        ++head;
    if (head >= names.size()) {
        if (route)
            route->TakeSnapshot(QStringLiteral("target found"));
        return parent;
    }
    QObject *found = FindBelow(parent, names, head, route, failures);
    if (!found && failures.active)
        failures.Note(parent, entered);
    return found;
}

} // namespace

QObject *UIRemoteControl::FindQMLObject(QObject *parent, QStringList names, RouteStack *route) const
{
    Failures failures;
    failures.unowned = m_engine->m_extensions;
    return FindPath(parent, names, 0, route, failures);
}

QObject *UIRemoteControl::FindQMLObjectForRepeater(const QObject *repeater, const QStringList &names,
                                                   RouteStack *route) const
{
    Failures failures;
    return FindPathInRepeater(repeater, names, 0, route, failures);
}

QObject *UIRemoteControl::FindQMLObjectForFlickable(const QObject *flickable, const QStringList &names,
                                                    RouteStack *route) const
{
    Failures failures;
    return FindPathInFlickable(flickable, names, 0, route, failures);
}

// ---------------------------------------------------------------------------------------------
// The visiting order

namespace {

// A fixed set of class-name substrings (ASCII, not empty) tested up a class chain: true when a
// class on the chain has one of them in its name, exactly as DerivesFrom tests them, but with
// plain byte searches, and with a walk that ends early. The classes where it ends are common
// bases (QQuickItem, QObject) for which it has checked once that neither they nor any class
// above them holds one of the names: once the walk reaches one, the answer is no.
class ClassNames {
public:
    ClassNames(std::initializer_list<const char *> names) : m_names(names)
    {
        // The part every name starts with ("QQuick"): a class name holds a name only where it
        // holds that part, so the search looks for the part once and compares the rest there.
        m_prefix = m_names.empty() ? std::string() : std::string(m_names.front());
        for (const char *name : m_names) {
            size_t common = 0;
            while (common < m_prefix.size() && name[common] == m_prefix[common])
                ++common;
            m_prefix.resize(common);
        }
        for (const QMetaObject *base : {&QQuickItem::staticMetaObject, &QObject::staticMetaObject}) {
            bool matches = false;
            for (const QMetaObject *meta = base; meta && !matches; meta = meta->superClass())
                matches = HasName(meta->className());
            if (!matches)
                m_ends.push_back(base);
        }
    }

    bool Matches(const QObject *object) const
    {
        if (!object)
            return false;
        for (const QMetaObject *meta = object->metaObject(); meta; meta = meta->superClass()) {
            if (std::find(m_ends.begin(), m_ends.end(), meta) != m_ends.end())
                return false;
            if (HasName(meta->className()))
                return true;
        }
        return false;
    }

private:
    bool HasName(const char *className) const
    {
        const size_t prefix = m_prefix.size();
        for (const char *at = std::strstr(className, m_prefix.c_str()); at && *at; at = std::strstr(at + 1, m_prefix.c_str())) {
            for (const char *name : m_names) {
                if (std::strncmp(at + prefix, name + prefix, std::strlen(name + prefix)) == 0)
                    return true;
            }
        }
        return false;
    }

    std::vector<const char *> m_names;
    std::string m_prefix;
    std::vector<const QMetaObject *> m_ends;
};

const ClassNames &RepeaterClasses()
{
    static const ClassNames classes = {"QQuickRepeater"};
    return classes;
}

const ClassNames &FlickableClasses()
{
    static const ClassNames classes = {"QQuickFlickable", "QQuickGridView", "QQuickListView"};
    return classes;
}

} // namespace

namespace SearchOrder {

bool DerivesFrom(const QObject *object, const QStringList &classNames)
{
    if (!object)
        return false;
    for (const QMetaObject *meta = object->metaObject(); meta; meta = meta->superClass()) {
        const QLatin1String className(meta->className());
        for (const QString &candidate : classNames) {
            if (className.indexOf(candidate, 0, Qt::CaseSensitive) != -1)
                return true;
        }
    }
    return false;
}

// The guards skip class-name tests that cannot change the outcome: only items have repeater
// delegates, and a flickable's delegates hang below one of its children.
bool IsRepeater(const QObject *object)
{
    return qobject_cast<const QQuickItem *>(object) && RepeaterClasses().Matches(object);
}

bool IsFlickable(const QObject *object)
{
    return !object->children().isEmpty() && FlickableClasses().Matches(object);
}

QList<QQuickItem *> RepeaterDelegates(const QObject *repeater)
{
    QList<QQuickItem *> delegates;
    const auto *item = qobject_cast<const QQuickItem *>(repeater);
    if (QQuickItem *parentItem = item ? item->parentItem() : nullptr) {
        for (QQuickItem *child : parentItem->childItems()) {
            if (!RepeaterClasses().Matches(child))
                delegates.append(child);
        }
    }
    return delegates;
}

QList<QQuickItem *> FlickableDelegates(const QObject *flickable)
{
    QList<QQuickItem *> delegates;
    for (QObject *child : flickable->children()) {
        if (auto *item = qobject_cast<QQuickItem *>(child))
            delegates.append(item->childItems());
    }
    return delegates;
}

namespace {
quint64 g_visits = 0;
} // namespace

void CountVisit() { ++g_visits; }
quint64 Visits() { return g_visits; }

namespace {

// Whether a QObject parent of the object is an item, a window or a popup, which the search meets.
bool OwnedInScene(const QObject *object)
{
    for (const QObject *up = object->parent(); up; up = up->parent()) {
        if (qobject_cast<const QQuickItem *>(up) || up->isWindowType() || up->inherits("QQuickPopup"))
            return true;
    }
    return false;
}

} // namespace

QList<QObject *> Unowned(const QObject *object)
{
    QList<QObject *> unowned;
    const auto *item = qobject_cast<const QQuickItem *>(object);
    if (!item)
        return unowned;
    // Every search visits this for every item: the cheap tests come first. Only a child item
    // without a QObject parent, or a popup below the window's overlay (a child of the window's
    // content item), can be unowned.
    const QList<QQuickItem *> childItems = item->childItems();
    const bool overlay = item->window() && item->parentItem() == item->window()->contentItem() &&
                         item->inherits("QQuickOverlay");
    if (!overlay && std::all_of(childItems.begin(), childItems.end(), [](const QQuickItem *c) { return c->parent(); }))
        return unowned;
    // A view's content and the parent of a repeater hold delegates, which the search reaches
    // through the view or the repeater, in their place.
    if (FlickableClasses().Matches(item->parent()))
        return unowned;
    if (std::any_of(childItems.begin(), childItems.end(), [](const QQuickItem *c) { return RepeaterClasses().Matches(c); }))
        return unowned;
    for (QQuickItem *child : childItems) {
        QObject *owner = child->parent();
        if (!owner)
            unowned.append(child);
        else if (overlay && owner->inherits("QQuickPopup") && !OwnedInScene(owner) && !unowned.contains(owner))
            unowned.append(owner);
    }
    return unowned;
}

QList<QObject *> Children(QObject *object)
{
    QList<QObject *> all = object->children();
    if (IsRepeater(object)) {
        for (QQuickItem *item : RepeaterDelegates(object))
            all.append(item);
    }
    if (IsFlickable(object)) {
        for (QQuickItem *item : FlickableDelegates(object))
            all.append(item);
    }
    all.append(Unowned(object));
    return all;
}

} // namespace SearchOrder
