#pragma once
// RouteStack: the chain of objects an object search is visiting, plus text snapshots of that
// chain taken at notable moments ("target found", "invalid argument"), dumped to the trace
// after each search.

#include "UIRemoteControlGlobal.h"

#include <QStringList>

class UIREMOTECONTROL_EXPORT RouteStack {
public:
    void Push(const QString &label) { route.append(label); }
    void Pop() { route.removeLast(); }
    // Appends "message: [a] > [b] > [c]".
    void TakeSnapshot(const QString &message);
    // One trace line "%s, %s" at route severity per snapshot, in order.
    void DumpSnapshots() const;

    QStringList route;
    QStringList snapshots;
};

// Pushes a label for the lifetime of a scope; does nothing for a null stack.
class RouteStackGuard {
public:
    RouteStackGuard(const QString &label, RouteStack *stack) : m_stack(stack)
    {
        if (m_stack)
            m_stack->Push(label);
    }
    ~RouteStackGuard()
    {
        if (m_stack)
            m_stack->Pop();
    }
    RouteStackGuard(const RouteStackGuard &) = delete;
    RouteStackGuard &operator=(const RouteStackGuard &) = delete;

private:
    RouteStack *m_stack;
};
