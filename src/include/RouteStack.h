#pragma once
// RouteStack: the chain of objects an object search is visiting, plus text snapshots of that
// chain taken at notable moments ("target found", "invalid argument"), dumped to the trace
// after each search.
//
// A search pushes the objects themselves: their labels (object name, else class name) are
// spelled out only when a snapshot is taken, at most once or twice per search. Nothing runs
// between a visit and its snapshot, so the labels are those the objects had when visited.
// Labels pushed as text (route) and objects mix in the order they were pushed.

#include "UIRemoteControlGlobal.h"

#include <QStringList>
#include <QVector>

class QObject;

class UIREMOTECONTROL_EXPORT RouteStack {
public:
    void Push(const QString &label) { route.append(label); }
    void Pop() { route.removeLast(); }
    void Push(const QObject *object) { m_objects.append({object, int(route.size())}); }
    void PopObject() { m_objects.removeLast(); }
    // Appends "message: [a] > [b] > [c]".
    void TakeSnapshot(const QString &message);
    // One trace line "%s, %s" at route severity per snapshot, in order.
    void DumpSnapshots() const;
    // An object's label: its name, else its class name; empty for no object.
    static QString Label(const QObject *object);

    QStringList route; // the labels pushed as text
    QStringList snapshots;

private:
    struct ObjectEntry {
        const QObject *object;
        int after; // how many text labels were on the route when it was pushed
    };
    QVector<ObjectEntry> m_objects;
};

// Pushes a label, or an object, for the lifetime of a scope; does nothing for a null stack.
class RouteStackGuard {
public:
    RouteStackGuard(const QString &label, RouteStack *stack) : m_stack(stack), m_object(false)
    {
        if (m_stack)
            m_stack->Push(label);
    }
    RouteStackGuard(const QObject *object, RouteStack *stack) : m_stack(stack), m_object(true)
    {
        if (m_stack)
            m_stack->Push(object);
    }
    ~RouteStackGuard()
    {
        if (!m_stack)
            return;
        if (m_object)
            m_stack->PopObject();
        else
            m_stack->Pop();
    }
    RouteStackGuard(const RouteStackGuard &) = delete;
    RouteStackGuard &operator=(const RouteStackGuard &) = delete;

private:
    RouteStack *m_stack;
    bool m_object;
};
