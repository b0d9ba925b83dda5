// The shared scene-tree core: the walk over children and delegates, QML ids, names from ids, the
// finding paths of objects, the window of a root and its image.

#include "SceneTree.h"
#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtTest>

namespace {

// The object search, opened for direct calls.
class SearchProbe : public UIRemoteControl {
public:
    using UIRemoteControl::UIRemoteControl;
    QObject *Resolve(const QString &path) const { return FindNamedQMLObject({{QStringLiteral("objname"), path}}); }
};

} // namespace

class TestSceneTree : public QObject {
    Q_OBJECT
private slots:
    void init()
    {
        m_engine.reset(new QQmlApplicationEngine);
        m_engine->load(QUrl::fromLocalFile(QStringLiteral(TEST_QML_DIR "/scene_tree.qml")));
        QVERIFY(!m_engine->rootObjects().isEmpty());
        m_root = m_engine->rootObjects().first();
        m_window = qobject_cast<QQuickWindow *>(m_root);
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
        m_search.reset(new SearchProbe(m_root, m_engine->rootContext(), m_window));
    }
    void cleanup()
    {
        m_search.reset();
        m_engine.reset();
    }

    void walkVisitsEveryObjectOnceWithDelegates()
    {
        QHash<QObject *, int> visits;
        QHash<QString, int> depthOf;
        SceneTree::Walk(m_root, [&](QObject *object, int depth) {
            ++visits[object];
            depthOf.insert(object->objectName(), depth);
            return true;
        });
        for (auto it = visits.constBegin(); it != visits.constEnd(); ++it)
            QCOMPARE(it.value(), 1);
        QCOMPARE(depthOf.value(QStringLiteral("win")), 0);
        for (const char *name : {"cell0", "cell2", "entry0", "entry2"})
            QVERIFY2(depthOf.contains(QLatin1String(name)), name);
    }

    void walkSkipsASubtreeWhenTold()
    {
        QStringList seen;
        SceneTree::Walk(m_root, [&](QObject *object, int) {
            seen.append(object->objectName());
            return object->objectName() != QLatin1String("panel");
        });
        QVERIFY(seen.contains(QStringLiteral("panel")));
        QVERIFY(!seen.contains(QStringLiteral("a.b")));
        QVERIFY(seen.contains(QStringLiteral("inner")));
    }

    void qmlIdAndNamesFromIds()
    {
        QObject *unnamed = nullptr;
        SceneTree::Walk(m_root, [&](QObject *object, int) {
            if (SceneTree::QmlId(object) == QLatin1String("unnamedWithId"))
                unnamed = object;
            return true;
        });
        QVERIFY(unnamed);
        QVERIFY(unnamed->objectName().isEmpty());
        QCOMPARE(SceneTree::QmlId(m_root), QStringLiteral("window"));
        SceneTree::NameFromIds(m_root);
        QCOMPARE(unnamed->objectName(), QStringLiteral("unnamedWithId"));
        QCOMPARE(m_root->objectName(), QStringLiteral("win")); // a name is never replaced
        QCOMPARE(m_search->Resolve(QStringLiteral("unnamedWithId")), unnamed);
    }

    // Every path given finds its object; a named object whose own name finds it gets that name.
    void findingPathsFindTheirObjects()
    {
        const QHash<QObject *, QString> paths = SceneTree::FindingPaths(m_root);
        QVERIFY(paths.size() > 10);
        for (auto it = paths.constBegin(); it != paths.constEnd(); ++it)
            QCOMPARE(m_search->Resolve(it.value()), it.key());
        SceneTree::Walk(m_root, [&](QObject *object, int) {
            const QString name = object->objectName();
            if (!name.isEmpty() && !name.contains(QLatin1Char('.')) && m_search->Resolve(name) == object)
                [&] { QCOMPARE(paths.value(object), name); }();
            return true;
        });
    }

    void findingPathsOfRepeatedNames()
    {
        const QHash<QObject *, QString> paths = SceneTree::FindingPaths(m_root);
        QHash<QString, QStringList> byChain; // "parentName/name" -> paths, in walk order
        SceneTree::Walk(m_root, [&](QObject *object, int) {
            QObject *parent = object->parent();
            byChain[(parent ? parent->objectName() : QString()) + QLatin1Char('/') + object->objectName()].append(
                paths.value(object, QStringLiteral("-")));
            return true;
        });
        QCOMPARE(byChain.value(QStringLiteral("panel/row")), QStringList({"row"}));
        QCOMPARE(byChain.value(QStringLiteral("other/row")), QStringList({"win.other.row", "-"}));
        QCOMPARE(byChain.value(QStringLiteral("inner/row")), QStringList({"win.other.inner.row"}));
        QCOMPARE(byChain.value(QStringLiteral("panel/a.b")), QStringList({"-"}));
        QCOMPARE(paths.value(m_root), QStringLiteral("win"));
    }

    void findingPathsReachDelegates()
    {
        const QHash<QObject *, QString> paths = SceneTree::FindingPaths(m_root);
        QStringList delegates;
        for (auto it = paths.constBegin(); it != paths.constEnd(); ++it) {
            if (it.value().startsWith(QLatin1String("cell")) || it.value().startsWith(QLatin1String("entry")))
                delegates.append(it.value());
        }
        delegates.sort();
        QCOMPARE(delegates, QStringList({"cell0", "cell1", "cell2", "entry0", "entry1", "entry2"}));
    }

    void findingPathsOfNothing() { QVERIFY(SceneTree::FindingPaths(nullptr).isEmpty()); }

    void windowOfRootAndGrab()
    {
        QCOMPARE(SceneTree::WindowOfRoot(m_root), m_window);
        auto *item = m_root->findChild<QQuickItem *>(QStringLiteral("panel"));
        QVERIFY(item);
        QCOMPARE(SceneTree::WindowOfRoot(item), m_window);
        QVERIFY(!SceneTree::WindowOfRoot(nullptr));
        const QImage image = SceneTree::Grab(m_window);
        QVERIFY(!image.isNull());
        QCOMPARE(image.size() / image.devicePixelRatio(), m_window->size());
        QVERIFY(SceneTree::Grab(nullptr).isNull());
    }

private:
    QScopedPointer<QQmlApplicationEngine> m_engine;
    QObject *m_root = nullptr;
    QQuickWindow *m_window = nullptr;
    QScopedPointer<SearchProbe> m_search;
};

QTEST_MAIN(TestSceneTree)
#include "tst_scene_tree.moc"
