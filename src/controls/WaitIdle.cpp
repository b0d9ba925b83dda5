// "waitidle": waits until nothing moves in a window, or below one item of it, and a frame has
// been rendered since. What moves: running animations and transitions (animators included),
// flickables and path views that move, stack views that are busy. Without "objname" and
// "ignore" the window must also render no frame for a quiet period, which catches the
// animations that announce themselves nowhere (a view gliding to its current item, a Behavior).
// "ignore" leaves out what never stops (a BusyIndicator, an endless animation): its entries
// name objects (objectName or QML id) or types ("BusyIndicator", "{ProgressBar}"); whatever
// lies in an ignored object, or animates one, is left out.

#include "ControlEngine.h"

#include "SceneTree.h"
#include "Selector.h"
#include "TraceLog.h"
#include "WaitLoop.h"

#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSet>
#include <QTimer>

#include <algorithm>
#include <memory>

namespace {

struct Mover {
    QPointer<QObject> object;
    const char *property;
};

// How long a window must render no frame to count as settled.
const int kQuietMs = 100;

// An entry of "ignore" against one object: its name, its QML id, or its type.
bool Named(const QObject *object, const QStringList &ignore)
{
    for (QString entry : ignore) {
        if (entry.startsWith(QLatin1Char('{')) && entry.endsWith(QLatin1Char('}')))
            entry = entry.mid(1, entry.size() - 2).trimmed();
        if (entry.isEmpty())
            continue;
        if (object->objectName() == entry || SceneTree::QmlId(object) == entry || Selector::HasType(object, entry))
            return true;
    }
    return false;
}

// The object and what it lies in (object parents and parent items) or animates (its target).
bool Ignored(const QObject *object, const QStringList &ignore, int depth = 0)
{
    if (ignore.isEmpty() || !object || depth > 64)
        return false;
    for (const QObject *at = object; at; at = at->parent()) {
        if (Named(at, ignore))
            return true;
        if (const auto *item = qobject_cast<const QQuickItem *>(at)) {
            for (const QQuickItem *up = item->parentItem(); up; up = up->parentItem()) {
                if (Named(up, ignore))
                    return true;
            }
        }
    }
    const QObject *target = qvariant_cast<QObject *>(object->property("target"));
    return target && target != object && Ignored(target, ignore, depth + 1);
}

bool Moving(const Mover &mover)
{
    if (!mover.object)
        return false;
    const bool on = mover.object->property(mover.property).toBool();
    return on && !(mover.object->inherits("QQuickAbstractAnimation") && mover.object->property("paused").toBool());
}

QList<Mover> Movers(QQuickWindow *window, QQuickItem *scope, const QStringList &ignore, bool *leftOut)
{
    QList<Mover> movers;
    QSet<QObject *> seen;
    const auto visit = [&](QObject *object, int) {
        if (seen.contains(object))
            return false;
        seen.insert(object);
        const char *property = nullptr;
        if (object->inherits("QQuickAbstractAnimation") || object->inherits("QQuickTransition"))
            property = "running";
        else if (object->inherits("QQuickFlickable") || object->inherits("QQuickPathView"))
            property = "moving";
        else if (object->inherits("QQuickStackView"))
            property = "busy";
        if (!property)
            return true;
        if (Ignored(object, ignore))
            *leftOut = true;
        else
            movers.append({object, property});
        return true;
    };
    if (scope) {
        SceneTree::Walk(scope, visit);
        return movers;
    }
    SceneTree::Walk(window, visit);
    SceneTree::Walk(window->contentItem(), visit);
    return movers;
}

// A moving object as a tester knows it: its name or id, else its type and what it belongs to
// ("NumberAnimation of box", "Transition of stackView").
QString MoverLabel(const QObject *object)
{
    const auto own = [](const QObject *o) {
        return o->objectName().isEmpty() ? SceneTree::QmlId(o) : o->objectName();
    };
    if (!own(object).isEmpty())
        return own(object);
    const QString type = Selector::TypeName(object);
    const QObject *target = qvariant_cast<QObject *>(object->property("target"));
    if (target && !own(target).isEmpty())
        return QStringLiteral("%1 of %2").arg(type, own(target));
    for (const QObject *up = object->parent(); up; up = up->parent()) {
        if (!own(up).isEmpty())
            return QStringLiteral("%1 in %2").arg(type, own(up));
    }
    return type;
}

} // namespace

// "waitidle": "winobjname" (else the item's window, else the default window), "objname" (only
// what moves below that item), "ignore" (a list), "timeout" ms (5000).
bool ControlEngine::DoWaitIdle(const ArgumentMap &args, QVariant &value)
{
    RC_TRACE_SCOPE("UIRemoteControl::DoWaitIdle");
    QQuickItem *scope = nullptr;
    if (NamesObject(args)) {
        QObject *object = FindNamedQMLObject(args);
        scope = qobject_cast<QQuickItem *>(object);
        if (!scope) {
            if (object)
                SetFailureReason(QStringLiteral("%1 is not a visual item").arg(ArgumentsPath(args)));
            return false;
        }
    }
    const QString winName = args.value(QStringLiteral("winobjname")).toString();
    QWindow *found = !winName.isEmpty() ? WindowNamed(winName) : scope ? scope->window() : m_window.data();
    const QPointer<QQuickWindow> window = qobject_cast<QQuickWindow *>(found);
    if (!window) {
        SetFailureReason(winName.isEmpty() ? QStringLiteral("there is no default window")
                                           : QStringLiteral("no window is named \"%1\"").arg(winName));
        return false;
    }
    if (!window->isExposed()) {
        SetFailureReason(QStringLiteral("the window %1 is not exposed: it renders no frames").arg(MoverLabel(window)));
        return false;
    }
    const int timeout = args.value(QStringLiteral("timeout"), 5000).toInt();
    QStringList ignore;
    for (const QVariant &entry : args.value(QStringLiteral("ignore")).toList())
        ignore.append(entry.toString());
    bool leftOut = false;
    struct State {
        QList<Mover> movers;
        bool framed = false, quiet = false, frameAsked = false, needQuiet = true;
        int frames = 0;
        QTimer quietTimer;
        bool Moving() const { return std::any_of(movers.begin(), movers.end(), ::Moving); }
    };
    auto state = std::make_shared<State>();
    state->movers = Movers(window, scope, ignore, &leftOut);
    // Frames of other parts of the window say nothing about the item, nor about what is left out.
    state->needQuiet = !scope && ignore.isEmpty();
    state->quietTimer.setSingleShot(true);
    state->quietTimer.setInterval(kQuietMs);

    // Settled: nothing moves, a frame has been rendered since the last movement ended, and (for
    // the whole window) no frame has followed it for the quiet period.
    auto *wait = new WaitLoop([state, window] {
        if (state->Moving()) {
            state->framed = false;
            return false;
        }
        if (!state->framed && !state->frameAsked && window) {
            state->frameAsked = true;
            window->update();
        }
        return state->framed && (state->quiet || !state->needQuiet);
    });
    QObject::connect(window, &QQuickWindow::frameSwapped, wait, [state, wait] {
        state->framed = !state->Moving();
        state->quiet = false;
        state->frameAsked = false;
        ++state->frames;
        state->quietTimer.start();
        if (!state->needQuiet)
            wait->Check();
    });
    QObject::connect(&state->quietTimer, &QTimer::timeout, wait, [state, wait] {
        state->quiet = true;
        wait->Check();
    });
    for (const Mover &mover : state->movers) {
        const QMetaObject *meta = mover.object->metaObject();
        wait->Watch(mover.object, meta->property(meta->indexOfProperty(mover.property)).notifySignal());
    }
    wait->Guard(window);
    return Await(wait, timeout, [this, state, timeout](int ending, QVariant &) {
        state->quietTimer.stop();
        if (ending == 0)
            return true;
        if (ending == 2) {
            SetFailureReason(QStringLiteral("the window was destroyed while waiting for it to settle"));
            return false;
        }
        QStringList still;
        for (const Mover &mover : state->movers) {
            if (::Moving(mover) && !still.contains(MoverLabel(mover.object)))
                still.append(MoverLabel(mover.object));
        }
        if (!still.isEmpty())
            SetFailureReason(QStringLiteral("still moving after %1 ms: %2").arg(timeout).arg(still.join(QStringLiteral(", "))));
        else if (state->frames == 0)
            SetFailureReason(QStringLiteral("no frame was rendered within %1 ms").arg(timeout));
        else
            SetFailureReason(QStringLiteral("the window kept rendering frames for %1 ms: an animation runs "
                                            "(\"ignore\" leaves out what never stops)").arg(timeout));
        return false;
    }, value);
}
