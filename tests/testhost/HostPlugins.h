#pragma once
// Stand-ins for the plugin objects a host application publishes in its QML context: a plugin
// that hands out tree models, the joystick plugin, and a plugin with signals and slots. Each
// records how it was called so tests can assert exactly what the remote control did to it.

#include "IKRVNTreeModel.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>
#include <QVector>

// A tree model with fixed rows. Each row holds named roles and, under the child-model role,
// optionally a nested model. Rows it does not have read as invalid values.
class TestTreeModel : public IKRVNTreeModel {
    Q_OBJECT
public:
    explicit TestTreeModel(const QString &name, QObject *parent = nullptr);

    // Appends a row; child is stored as-is under the child-model role (invalid for none).
    void AddRow(const QVariantMap &roles, const QVariant &child = QVariant());
    // The model groupModel() hands out for a group role name (null is a valid answer).
    void SetGroup(const QString &groupRoleName, IKRVNTreeModel *model);

    int rowCount() const override;
    QVariant valueByRoleName(int row, const QString &roleName) const override;
    QVariant valueByRole(int row, int role) const override;
    bool setValueByRoleName(int row, const QString &roleName, const QVariant &value) override;
    IKRVNTreeModel *groupModel(const QString &groupRoleName, int option) override;
    IKRVNTreeModel *parentModel() const override;

    void ResetCalls();
    int TotalCalls() const { return roleNameCalls.size() + roleCalls.size() + groupCalls.size(); }

    // Every call, in order: (row, role name), (row, role), (group role name, option).
    mutable QList<QPair<int, QString>> roleNameCalls;
    mutable QList<QPair<int, int>> roleCalls;
    QList<QPair<QString, int>> groupCalls;

private:
    struct Row {
        QVariantMap roles;
        QVariant child;
    };
    QVector<Row> m_rows;
    QMap<QString, IKRVNTreeModel *> m_groups;
};

// A host plugin that owns a small tree of models and hands the top one out.
//
//   top   row 0 {name: alpha, count: 10}  child: childA (stored as QObject *)
//         row 1 {name: beta}              child: childB (stored as TestTreeModel *)
//         row 2 {name: gamma}             child: childC
//         row 3 {name: delta}             no child
//         row 4 {name: falsy, flag: false, text: "", zero: 0}
//   childA rows a0..a3; its row 1 has child grandA (rows g0..g2)
//   childB rows b0, b1        childC rows c0, c1
//   top.groupModel("colour") -> colours (rows red, green); "nothing" -> null
class ModelPlugin : public QObject {
    Q_OBJECT
public:
    explicit ModelPlugin(QObject *parent = nullptr);

    Q_INVOKABLE QObject *treeModel();
    Q_INVOKABLE QObject *nullModel();
    Q_INVOKABLE int rowTotal() const { return 5; }
    Q_INVOKABLE QObject *modelFor(const QString &name);

    void ResetCalls();
    QList<TestTreeModel *> Models() const;

    TestTreeModel *top;
    TestTreeModel *childA;
    TestTreeModel *childB;
    TestTreeModel *childC;
    TestTreeModel *grandA;
    TestTreeModel *colours;
    int treeModelCalls = 0;
    int nullModelCalls = 0;
};

// The host's joystick plugin: the three methods the remote control calls by name.
class JoystickPlugin : public QObject {
    Q_OBJECT
public:
    struct Button {
        QString model;
        int keyId;
    };
    struct Axis {
        double x, y, z;
    };

    using QObject::QObject;

    Q_INVOKABLE void onDeviceChanged(const QStringList &devices) { deviceCalls.append(devices); }
    Q_INVOKABLE void handleButtonEvent(const QString &model, int keyId) { buttonCalls.append({model, keyId}); }
    Q_INVOKABLE void axisChanged(double x, double y, double z) { axisCalls.append({x, y, z}); }

    int TotalCalls() const { return deviceCalls.size() + buttonCalls.size() + axisCalls.size(); }

    QList<QStringList> deviceCalls;
    QList<Button> buttonCalls;
    QList<Axis> axisCalls;
};

// A host plugin with argument-less signals, slots and invokables, and a signal and a slot that
// take a parameter.
class SignalPlugin : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    Q_INVOKABLE void reload() { ++reloadCalls; }

    int resetCalls = 0;
    int reloadCalls = 0;
    int levelCalls = 0;

signals:
    void refreshed();
    void finished();
    void valueChanged(int value);

public slots:
    void reset() { ++resetCalls; }
    void setLevel(int) { ++levelCalls; }
};
