// Names from QML ids (IdNames.h): objects named as the engine creates them.

#include "IdNames.h"

#include "SceneTree.h"

#include <QCoreApplication>
#include <QMutex>
#include <QPointer>
#include <QSet>
#include <QThread>
#include <QVector>

// Qt's hook table for tools that follow object creation (stable since Qt 5.4).
extern Q_CORE_EXPORT quintptr qtHookData[];

namespace {

enum HookIndex { HookDataVersion = 0, HookDataSize = 1, AddQObject = 3, RemoveQObject = 4 };
using ObjectHook = void (*)(QObject *);

struct HookState {
    QMutex mutex;
    QSet<QObject *> created;    // created on the GUI thread since the last naming, still alive
    QThread *guiThread = nullptr;
    ObjectHook previousAdd = nullptr;
    ObjectHook previousRemove = nullptr;
};

// Never destroyed: the hooks may run until the very end of the process.
HookState &State()
{
    static HookState *state = new HookState;
    return *state;
}

void OnObjectAdded(QObject *object)
{
    HookState &state = State();
    if (QThread::currentThread() == state.guiThread) {
        QMutexLocker lock(&state.mutex);
        state.created.insert(object);
    }
    if (state.previousAdd)
        state.previousAdd(object);
}

void OnObjectRemoved(QObject *object)
{
    HookState &state = State();
    {
        QMutexLocker lock(&state.mutex);
        state.created.remove(object);
    }
    if (state.previousRemove)
        state.previousRemove(object);
}

void InstallHooks()
{
    HookState &state = State();
    if (state.guiThread || !QCoreApplication::instance())
        return;
    if (qtHookData[HookDataVersion] < 1 || qtHookData[HookDataSize] <= RemoveQObject)
        return;
    state.guiThread = QCoreApplication::instance()->thread();
    state.previousAdd = reinterpret_cast<ObjectHook>(qtHookData[AddQObject]);
    state.previousRemove = reinterpret_cast<ObjectHook>(qtHookData[RemoveQObject]);
    qtHookData[AddQObject] = reinterpret_cast<quintptr>(&OnObjectAdded);
    qtHookData[RemoveQObject] = reinterpret_cast<quintptr>(&OnObjectRemoved);
}

void NameObject(QObject *object)
{
    if (!object->objectName().isEmpty())
        return;
    const QString id = SceneTree::QmlId(object);
    if (!id.isEmpty())
        object->setObjectName(id);
}

} // namespace

void IdNames::Enable(QObject *root)
{
    InstallHooks();
    NameNewObjects(); // what the hooks saw so far is named by the walk below anyway
    SceneTree::NameFromIds(root);
}

void IdNames::NameNewObjects()
{
    HookState &state = State();
    QVector<QPointer<QObject>> objects;
    {
        QMutexLocker lock(&state.mutex);
        if (state.created.isEmpty())
            return;
        objects.reserve(state.created.size());
        for (QObject *object : qAsConst(state.created)) {
            if (object->thread() == QThread::currentThread())
                objects.append(object);
        }
        state.created.clear();
    }
    // Outside the lock: a name change may run QML handlers that create objects.
    for (const QPointer<QObject> &object : qAsConst(objects)) {
        if (object)
            NameObject(object);
    }
}
