#pragma once
// ControlEngine: what a UIRemoteControl keeps beyond the twenty controls, out of the installed
// header: extension mode and its controls (typing, gestures, actionability, spies, waits, tree,
// find, screenshots, extended property access) and the reason a failing control gives.
//
// One engine belongs to one UIRemoteControl and reads its root, window and context through the
// references below; the extension handlers are its members, reached from the control table.

#include "ObjectHandles.h"
#include "Resolution.h"
#include "Selector.h"
#include "UIRemoteControl.h"

#include <QPointer>
#include <QString>
#include <QVariant>

#include <functional>
#include <memory>

class QMetaMethod;
class QPointF;
class QQuickItem;
class QWindow;
class WaitLoop;

class ControlEngine {
public:
    explicit ControlEngine(UIRemoteControl &control);
    ~ControlEngine();

    // Extension mode: off by default, on with UIREMOTE_EXTENSIONS=1 or setExtensionsEnabled.
    bool m_extensions = qEnvironmentVariableIntValue("UIREMOTE_EXTENSIONS") == 1;

    // The reason a failing control gives in extension mode: the first one set while it runs.
    void SetFailureReason(const QString &reason) const;
    QString TakeFailureReason() const;
    void ClearFailureReason() const { m_failureReason.clear(); }
    bool HasFailureReason() const { return !m_failureReason.isEmpty(); }

    // The extension word of a request that holds none of the twenty (keys in sorted order, a
    // later word overwriting an earlier one, as for the twenty).
    void ExtractExtensionWord(const QVariant &request, ParsedMessageInfo &info) const;

    // The failure of an action whose own events destroyed its item or its window before its last
    // event (the rest of its events were not sent): one log line, the reason, false.
    bool ActionInterrupted(const char *function, const ArgumentMap &args, bool windowGone) const;
    // False, with one log line and the reason, for a value nested deeper than a reply or a
    // property write may take (Limits::kMaxNesting); checked before the value is converted.
    bool CheckNesting(const QVariant &value, const char *function) const;

    // Typing, gestures and actionability. The target of a new pointer word is resolved by
    // ResolveActionTarget: the item, and the named window (which must exist) or else the item's
    // own. CheckActionable tells whether a person could act on the item at a scene point with a
    // button (Qt::NoButton: hover or wheel); only when WantsActionable do the twenty pointer
    // controls ask it.
    bool DoTypeText(const ArgumentMap &args, QVariant &value);
    bool DoWheel(const ArgumentMap &args, QVariant &value);
    bool DoSwipe(const ArgumentMap &args, QVariant &value);
    bool ResolveActionTarget(const ArgumentMap &args, QWindow **window, QQuickItem **item) const;
    bool WantsActionable(const ArgumentMap &args) const;
    bool CheckActionable(const ArgumentMap &args, QQuickItem *item, QWindow *window, const QPointF &scenePoint,
                         Qt::MouseButton button, bool hitTest = true) const;

    // Scrolling before acting (Scrolling.cpp). RevealNamedObject: when the path of args names
    // nothing yet, pages the shown views below the longest part of the path that exists, onwards
    // and back, until the search finds it; true when it did (the views stay where that happened;
    // views where it was not found go back). BringIntoView: scrolls each Flickable the item lies
    // in so that the item is inside its visible area.
    bool RevealNamedObject(const ArgumentMap &args);
    // Set when a search for a message's path found nothing (the chance to scroll to it).
    mutable bool m_missedObject = false;
    void BringIntoView(QQuickItem *item) const;

    // Signal spies and waits that do not poll.
    bool DoSpy(const ArgumentMap &args, QVariant &value);
    bool DoSpyCount(const ArgumentMap &args, QVariant &value);
    bool DoWaitSpy(const ArgumentMap &args, QVariant &value);
    bool DoUnspy(const ArgumentMap &args, QVariant &value);
    // Spies belong to the connection whose control armed them (m_client while it runs; null for
    // controlObject: the remote control's own) and go when it closes.
    void ReleaseSpiesOf(const void *owner);
    const void *m_client = nullptr;
    bool DoWaitProp(const ArgumentMap &args, QVariant &value);
    bool DoWaitIdle(const ArgumentMap &args, QVariant &value);
    QObject *FindWaitTarget(const ArgumentMap &args) const;
    // A handler's wait: answered at once when its condition holds; in a control of the server
    // (AllowWaitInBackground), left running while the application's event loop goes on, and
    // answered when it ends; otherwise run in a nested event loop. `conclude` turns how it ended
    // into the control's result, value and reason (0: met, 1: timed out, 2: object destroyed).
    using Conclusion = std::function<bool(int ending, QVariant &value)>;
    bool Await(WaitLoop *wait, int timeoutMs, Conclusion conclude, QVariant &value);

    // For the server. Before a control runs, it allows the control to leave its wait running;
    // afterwards WaitPending tells whether it did. The server then holds its queue until the wait
    // ends and `done` gets the control's result and value (the reason is set), or until the
    // server cancels it because the client that asked for it has gone (`done` is then not called).
    void AllowWaitInBackground(bool allow) { m_waitInBackground = allow; }
    bool WaitPending() const;
    void WhenWaitEnds(const QObject *client, std::function<void(bool result, const QVariant &value)> done);
    bool CancelWaitOf(const QObject *client);

    // The live tree, "find", screenshots and the reasons of failed searches.
    bool DoTree(const ArgumentMap &args, QVariant &value);
    bool DoFind(const ArgumentMap &args, QVariant &value);
    bool DoScreenshot(const ArgumentMap &args, QVariant &value);
    QString NoMatchReason(const QString &path) const;
    // A property or return value as a reply holds it: objects become {"type": ..., "path": ...}
    // (with withHandles, also "handle": the object's handle).
    QVariant ReplyValue(const QVariant &value, bool withHandles = false) const;

    // Object handles and scripts. A message's "handle" names its object in extension mode, before
    // any path (ObjectOfHandle: null, with the reason, once the object is gone).
    bool DoHandle(const ArgumentMap &args, QVariant &value);
    bool DoResolve(const ArgumentMap &args, QVariant &value);
    bool DoEvaluate(const ArgumentMap &args, QVariant &value);
    QObject *ObjectOfHandle(const QVariant &handle) const;
    mutable ObjectHandles m_handles;
    // Property access and calls with attached and dotted properties and typed parameters.
    bool ReadPropertyExtended(QObject *object, const ArgumentMap &args, QVariant &value);
    bool WritePropertyExtended(QObject *object, const ArgumentMap &args);
    bool InvokeTyped(QObject *object, const ArgumentMap &args, QVariant *value) const;
    bool CallScripted(QObject *object, const QMetaMethod &method, const QVariantList &arguments, QVariant *value) const;

private:
    // The search of a parsed path without trace, route or reason: nothing is logged.
    QObject *FindQuietly(const QList<Selector::Segment> &segments) const;

    // The remote control's own lookups, as its handlers call them.
    QObject *FindQMLObject(const ArgumentMap &args) const { return q.FindQMLObject(args); }
    QObject *FindNamedQMLObject(const ArgumentMap &args) const { return q.FindNamedQMLObject(args); }

    UIRemoteControl &q;
    QPointer<QObject> &m_root;
    QPointer<QWindow> &m_window;
    QQmlContext *&m_context;
    mutable QString m_failureReason;

    struct SpyTable;
    std::shared_ptr<SpyTable> m_spies;
    struct PendingWait;
    std::shared_ptr<PendingWait> m_pendingWait;
    bool m_waitInBackground = false;
};
