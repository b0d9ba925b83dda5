// Lookups in nested repeaters: each lookup meets each object a bounded number of times (at most
// once per name of its path, plus twice), however deep the repeaters nest (without the bound,
// 20 levels meant about 2^20 visits); a name still finds
// the object it found before (the first match in search order). Asserted by visit counts.

#include "NestedScene.h"
#include "SceneTree.h"
#include "SearchOrder.h"
#include "TestSupport.h"
#include "UIRemoteControl.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QtTest>

class TestNesting : public QObject {
    Q_OBJECT

private:
    QQmlEngine m_engine;
    QScopedPointer<QObject> m_root;
    int m_objects = 0;

    // The visits of one request.
    quint64 Visits(const QVariantMap &request, bool *result = nullptr, QVariant *value = nullptr)
    {
        UIRemoteControl remote(m_root.data(), m_engine.rootContext(), nullptr);
        remote.setExtensionsEnabled(true);
        QVariant reply;
        const quint64 before = SearchOrder::Visits();
        const bool ok = remote.controlObject(request, reply);
        if (result)
            *result = ok;
        if (value)
            *value = reply;
        return SearchOrder::Visits() - before;
    }

private slots:
    void initTestCase()
    {
        QQmlComponent component(&m_engine);
        component.setData(NestedScene::Nested(20), QUrl(QStringLiteral("file:///nested.qml")));
        m_root.reset(component.create());
        QVERIFY2(m_root, qPrintable(component.errorString()));
        SceneTree::Walk(m_root.data(), [this](QObject *, int) { return ++m_objects > 0; });
        QVERIFY(m_objects > 80);
    }

    void failedLookupMeetsEachObjectAFewTimes()
    {
        bool result = true;
        const quint64 visits = Visits({{"getpro", QVariantMap{{"objname", "nowhere"}, {"property", "x"}}}}, &result);
        QVERIFY(!result);
        // A handful of visits per object (the search, and the walks that find the reason's closest
        // names; 3x in a release run, about 4.2x under the sanitizers): linear in the scene.
        QVERIFY2(visits <= quint64(6 * m_objects), qPrintable(QStringLiteral("%1 visits of %2 objects").arg(visits).arg(m_objects)));
    }

    void nameFindsTheFirstMatchAsBefore()
    {
        bool result = false;
        QVariant value;
        const quint64 visits = Visits({{"getpro", QVariantMap{{"objname", "top.leaf"}, {"property", "objectName"}}}}, &result, &value);
        QVERIFY(result);
        QCOMPARE(value.toString(), QStringLiteral("leaf"));
        QVERIFY2(visits <= quint64(4 * m_objects), qPrintable(QStringLiteral("%1 visits of %2 objects").arg(visits).arg(m_objects)));
    }

    void selectorLookupsMeetEachObjectAFewTimes()
    {
        bool result = true;
        quint64 visits = Visits({{"getpro", QVariantMap{{"objname", "{Item objectName=\"nowhere\"}"}, {"property", "x"}}}}, &result);
        QVERIFY(!result);
        QVERIFY2(visits <= quint64(4 * m_objects), qPrintable(QStringLiteral("%1 visits of %2 objects").arg(visits).arg(m_objects)));
        visits = Visits({{"getpro", QVariantMap{{"objname", "nowhere.{Item}"}, {"property", "x"}}}}, &result);
        QVERIFY(!result);
        QVERIFY2(visits <= quint64(4 * m_objects), qPrintable(QStringLiteral("%1 visits of %2 objects").arg(visits).arg(m_objects)));
        QVariant value;
        visits = Visits({{"getpro", QVariantMap{{"objname", "{Item objectName=\"leaf\"}"}, {"property", "objectName"}}}}, &result, &value);
        QVERIFY(result);
        QCOMPARE(value.toString(), QStringLiteral("leaf"));
        QVERIFY2(visits <= quint64(4 * m_objects), qPrintable(QStringLiteral("%1 visits of %2 objects").arg(visits).arg(m_objects)));
    }

    void treeAndFindAnswer()
    {
        QElapsedTimer clock;
        clock.start();
        bool result = false;
        Visits({{"tree", QVariantMap{}}}, &result);
        QVERIFY(result);
        Visits({{"find", QVariantMap{{"property", "objectName"}, {"value", "leaf"}}}}, &result);
        QVERIFY(result);
        QVERIFY2(clock.elapsed() < 30000, "tree and find within 30 s");
    }
};

QTEST_MAIN(TestNesting)
#include "tst_nesting.moc"
