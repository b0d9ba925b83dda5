// Extension mode: the live tree, "find", screenshots, object values, attached and dotted
// properties and typed methods, against the extension scene over the wire.

#include "ObjectPaths.h"
#include "Selector.h"
#include "extension_fixture.h"

#include <QImage>

class TestLiveTree : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<ExtensionSession> s;

    static QJsonObject Node(const QJsonObject &tree, const QString &label)
    {
        if (tree.value("label").toString() == label)
            return tree;
        for (const QJsonValue &child : tree.value("children").toArray()) {
            const QJsonObject found = Node(child.toObject(), label);
            if (!found.isEmpty())
                return found;
        }
        return {};
    }
    static int Count(const QJsonObject &tree)
    {
        int count = 1;
        for (const QJsonValue &child : tree.value("children").toArray())
            count += Count(child.toObject());
        return count;
    }
    QImage Shot(const QJsonObject &reply)
    {
        return QImage::fromData(QByteArray::fromBase64(reply.value("value").toString().toLatin1()), "PNG");
    }

private slots:
    void init()
    {
        s.reset(new ExtensionSession(QStringLiteral("extension_scene.qml"), true));
        EXT_OPEN((*s));
        QVERIFY(QTest::qWaitForWindowExposed(s->scene.window));
    }
    void cleanup() { s.reset(); }

    // ----- paths --------------------------------------------------------------------------

    void everyPathFindsItsOwnObject()
    {
        const QHash<QObject *, QString> paths = ObjectPaths::All(s->scene.root);
        QVERIFY(paths.size() > 60);
        int selectors = 0;
        for (auto it = paths.constBegin(); it != paths.constEnd(); ++it) {
            Selector::Path segments;
            QVERIFY2(Selector::Parse(it.value(), segments), qPrintable(it.value()));
            selectors += Selector::HasSelector(segments);
            QVERIFY2(Selector::Find(s->scene.root, segments) == it.key(), qPrintable(it.value()));
        }
        QVERIFY(selectors > 30);
        // The index counts the shown nameless items the Controls style builds before it (hidden
        // ones come after every shown one): as many in Qt 6's Basic as in Qt 5's Default.
        QCOMPARE(paths.value(s->Named("{odd}")), QStringLiteral("mainWindow.{Item}[38]"));
        QCOMPARE(paths.value(s->Named("okButton")), QStringLiteral("okButton"));
        QCOMPARE(ObjectPaths::Closest({"main.okButton", "okButton", "list"}, "main.okButon"), QStringLiteral("main.okButton"));
    }

    // ----- tree ---------------------------------------------------------------------------

    void treeDescribesEveryObject()
    {
        const QJsonObject reply = s->Ask(Json("{'tree': {}}"));
        QCOMPARE(reply.value("result"), QJsonValue(true));
        const QJsonObject root = reply.value("value").toObject();
        QCOMPARE(root.value("label"), QJsonValue("mainWindow"));
        QCOMPARE(root.value("type"), QJsonValue("ApplicationWindow"));
        QCOMPARE(root.value("path"), QJsonValue("mainWindow"));
        QVERIFY(Count(root) > 60);
        const QJsonObject ok = Node(root, "okButton");
        QCOMPARE(ok.value("type"), QJsonValue("Button"));
        QCOMPARE(ok.value("path"), QJsonValue("okButton"));
        QCOMPARE(ok.value("id"), QJsonValue("okButton"));
        QCOMPARE(ok.value("text"), QJsonValue("OK"));
        QCOMPARE(ok.value("checked"), QJsonValue(false));
        QCOMPARE(ok.value("visible"), QJsonValue(true));
        QCOMPARE(ok.value("enabled"), QJsonValue(true));
        auto *item = s->Named<QQuickItem>("okButton");
        QCOMPARE(ok.value("rect").toObject(), (QJsonObject{{"x", 0}, {"y", 0}, {"width", item->width()}, {"height", item->height()}}));
        const QJsonObject hidden = Node(root, "hiddenRect");
        QCOMPARE(hidden.value("visible"), QJsonValue(false));
        QCOMPARE(hidden.value("path"), QJsonValue("hiddenRect"));
        const QJsonObject plain = Node(root, "plainObject");
        QVERIFY(!plain.contains("rect"));
        QVERIFY(!plain.contains("visible"));
        // A node without name path: the selector path it shows finds an object with its text.
        const QJsonObject list = Node(root, "list");
        QVERIFY(!list.value("children").toArray().isEmpty());
        QCOMPARE(list.value("currentIndex"), QJsonValue(0));
        const QJsonObject third = s->Ask(Json("{'tree': {'objname': 'main', 'depth': 1}}")).value("value").toObject();
        const QJsonObject checkBox = third.value("children").toArray().at(5).toObject();
        QCOMPARE(checkBox.value("text"), QJsonValue("third"));
        QCOMPARE(checkBox.value("path"), QJsonValue("main.{CheckBox}[2]"));
        QCOMPARE(s->Ask(QJsonObject{{"getpro", QJsonObject{{"objname", checkBox.value("path")}, {"property", "text"}}}}),
                 Success("third"));
    }

    void treeOfASubtreeToADepth()
    {
        const QJsonObject main = s->Ask(Json("{'tree': {'objname': 'main', 'depth': 1}}")).value("value").toObject();
        QCOMPARE(main.value("label"), QJsonValue("main"));
        QCOMPARE(main.value("children").toArray().size(), 7);
        for (const QJsonValue &child : main.value("children").toArray())
            QCOMPARE(child.toObject().value("children").toArray().size(), 0);
        const QJsonObject only = s->Ask(Json("{'tree': {'objname': 'okButton', 'depth': 0}}")).value("value").toObject();
        QCOMPARE(only.value("children").toArray().size(), 0);
        QCOMPARE(only.value("label"), QJsonValue("okButton"));
    }

    void treeFailures()
    {
        QCOMPARE(s->Ask(Json("{'tree': {'objname': 'mian'}}")), Failure("no object matches mian; closest: main"));
        QCOMPARE(s->Ask(Json("{'tree': {'depth': 'deep'}}")), Failure("depth must be a number"));
        QCOMPARE(s->Ask(Json("{'tree': {'objname': '{Button'}}")), Failure("bad selector at character 8: missing '}' in {Button"));
    }

    // ----- find ---------------------------------------------------------------------------

    void findReturnsPathsOfMatches()
    {
        QCOMPARE(s->Ask(Json("{'find': {'property': 'checked', 'value': true, 'type': 'CheckBox'}}")),
                 Success(QJsonArray{"main.{CheckBox}[1]"}));
        QCOMPARE(s->Ask(Json("{'find': {'type': 'CheckBox'}}")),
                 Success(QJsonArray{"main.{CheckBox}", "main.{CheckBox}[1]", "main.{CheckBox}[2]"}));
        QCOMPARE(s->Ask(Json("{'find': {'property': 'text', 'value': 'Push', 'type': 'Button'}}")),
                 Success(QJsonArray{"main.{Button}[1]", "main.{Button}[2]"}));
        QCOMPARE(s->Ask(Json("{'find': {'property': 'page', 'objname': 'stack'}}")), Success(QJsonArray{"stack.{Rectangle}"}));
        QCOMPARE(s->Ask(Json("{'find': {'property': 'text', 'value': 'nothing'}}")), Success(QJsonArray{}));
        QCOMPARE(s->Ask(Json("{'find': {'value': 1}}")), Failure("find needs a property (and value) or a type"));
        QCOMPARE(s->Ask(Json("{'find': {'type': 'Button', 'objname': 'stak'}}")),
                 Failure("no object matches stak; closest: stack"));
    }

    // ----- screenshot ---------------------------------------------------------------------

    void screenshotOfWindowAndItem()
    {
        const QImage window = Shot(s->Ask(Json("{'screenshot': {}}")));
        QCOMPARE(window.size(), s->scene.window->size() * s->scene.window->effectiveDevicePixelRatio());
        const QImage named = Shot(s->Ask(Json("{'screenshot': {'winobjname': 'mainWindow'}}")));
        QCOMPARE(named.size(), window.size());
        const QImage rect = Shot(s->Ask(Json("{'screenshot': {'objname': 'main.{Rectangle color=\\\"#ff0000\\\"}'}}")));
        QCOMPARE(rect.size(), QSize(10, 10));
        QCOMPARE(QColor(rect.pixel(5, 5)), QColor(Qt::red));
    }

    void screenshotFailures()
    {
        QCOMPARE(s->Ask(Json("{'screenshot': {'winobjname': 'hiddenWindow'}}")), Failure("window 'hiddenWindow' is not visible"));
        QCOMPARE(s->Ask(Json("{'screenshot': {'winobjname': 'nowin'}}")), Failure("window 'nowin' not found"));
        QCOMPARE(s->Ask(Json("{'screenshot': {'objname': 'plainObject'}}")),
                 Failure("plainObject is not an item of window 'mainWindow'"));
        QCOMPARE(s->Ask(Json("{'screenshot': {'objname': 'hiddenRect'}}")),
                 Failure("hiddenRect is not an item of window 'mainWindow'"));
    }

    // ----- values, attached and dotted properties, typed methods --------------------------

    void objectValuesComeAsTypeAndPath()
    {
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'okButton', 'property': 'parent'}}")),
                 Success(QJsonObject{{"type", "Column"}, {"path", "main"}}));
        QCOMPARE(s->Ask(Json("{'invokeret': {'objname': 'list', 'method': 'itemAtIndex', 'mthargs': [1]}}")),
                 Success(QJsonObject{{"type", "Text"}, {"path", "list.{Text}[1]"}}));
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'list.{Text}[1]', 'property': 'text'}}")), Success("row 1"));
    }

    void attachedAndDottedProperties()
    {
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'okButton', 'property': 'ToolTip.text'}}")), Success("Confirms"));
        QCOMPARE(s->Ask(Json("{'setpro': {'objname': 'okButton', 'property': 'ToolTip.visible', 'propval': true}}")), Success());
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'okButton', 'property': 'ToolTip.visible'}}")), Success(true));
        QCOMPARE(s->Ask(Json("{'setpro': {'objname': 'list', 'property': 'ScrollBar.vertical.position', 'propval': 0.5}}")), Success());
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'list', 'property': 'ScrollBar.vertical.position'}}")), Success(0.5));
        QCOMPARE(s->Ask(Json("{'setpro': {'objname': 'list', 'property': 'contentItem.x', 'propval': 3}}")), Success());
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'list', 'property': 'contentItem.x'}}")), Success(3));
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'okButton', 'property': 'text.size'}}")),
                 Failure("okButton has no property 'text.size'"));
        QCOMPARE(s->Ask(Json("{'setpro': {'objname': 'okButton', 'property': 'x', 'propval': 'far'}}")),
                 Failure("property 'x' of okButton (double) cannot take that value"));
    }

    void typedMethods()
    {
        QCOMPARE(s->Ask(Json("{'invokeret': {'objname': 'mainWindow', 'method': 'addInts', 'mthargs': [2, 3]}}")), Success(5));
        QCOMPARE(s->Ask(Json("{'invoke': {'objname': 'list', 'method': 'positionViewAtIndex', 'mthargs': [15, 1]}}")), Success());
        QTRY_VERIFY_WITH_TIMEOUT(s->Named("list")->property("contentY").toDouble() > 0, 5000);
        QCOMPARE(s->Ask(Json("{'invokeret': {'objname': 'list', 'method': 'itemAtIndex', 'mthargs': [1.5]}}")),
                 Failure("method itemAtIndex(int) does not take these arguments"));
        QCOMPARE(s->Ask(Json("{'invoke': {'objname': 'mainWindow', 'method': 'pushSecond'}}")), Success());
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'stack', 'property': 'depth'}}")), Success(2));
        QCOMPARE(s->Ask(Json("{'invoke': {'objname': 'stack', 'method': 'pop'}}")), Success());
        QCOMPARE(s->Ask(Json("{'getpro': {'objname': 'stack', 'property': 'depth'}}")), Success(1));
        QCOMPARE(s->Ask(Json("{'invokeret': {'objname': 'okButton', 'method': 'forceActiveFocus', 'mthargs': [1, 2, 3]}}")),
                 Failure("method forceActiveFocus() needs 0 arguments"));
    }
};

QTEST_MAIN(TestLiveTree)
#include "tst_live_tree.moc"
