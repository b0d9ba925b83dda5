#pragma once
// Host plugins of the demo application, as a host framework would publish them.

#include <IKRVNTreeModel.h>

#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <QVector>

// A small in-memory tree model: rows of role-name -> value, each row optionally with a child model.
class DemoTreeModel : public IKRVNTreeModel {
public:
    using IKRVNTreeModel::IKRVNTreeModel;

    DemoTreeModel *AddRow(const QVariantMap &values)
    {
        rows.append(values);
        children.append(nullptr);
        return this;
    }
    DemoTreeModel *Child(int row)
    {
        if (!children[row])
            children[row] = new DemoTreeModel(this);
        return children[row];
    }

    int rowCount() const override { return rows.size(); }
    QVariant valueByRoleName(int row, const QString &roleName) const override
    {
        return row >= 0 && row < rows.size() ? rows[row].value(roleName) : QVariant();
    }
    QVariant valueByRole(int row, int role) const override
    {
        if (role == ChildModelRole && row >= 0 && row < children.size() && children[row])
            return QVariant::fromValue<QObject *>(children[row]);
        return QVariant();
    }
    bool setValueByRoleName(int row, const QString &roleName, const QVariant &value) override
    {
        if (row < 0 || row >= rows.size())
            return false;
        rows[row].insert(roleName, value);
        return true;
    }
    IKRVNTreeModel *groupModel(const QString &groupRoleName, int) override { return groups.value(groupRoleName); }
    IKRVNTreeModel *parentModel() const override { return dynamic_cast<IKRVNTreeModel *>(parent()); }

    QVector<QVariantMap> rows;
    QVector<DemoTreeModel *> children;
    QMap<QString, DemoTreeModel *> groups;
};

// Publishes a device tree: two devices with their sensors, and a group of alarms.
class DevicePlugin : public QObject {
    Q_OBJECT
public:
    explicit DevicePlugin(QObject *parent = nullptr) : QObject(parent), m_model(new DemoTreeModel(this))
    {
        m_model->AddRow({{"name", "pump"}, {"state", "running"}})->AddRow({{"name", "valve"}, {"state", "closed"}});
        m_model->Child(0)->AddRow({{"name", "pressure"}, {"value", 2.5}})->AddRow({{"name", "flow"}, {"value", 11}});
        m_model->Child(1)->AddRow({{"name", "position"}, {"value", 0}});
        auto *alarms = new DemoTreeModel(m_model);
        alarms->AddRow({{"name", "overpressure"}, {"active", false}});
        m_model->groups.insert(QStringLiteral("alarms"), alarms);
    }
    Q_INVOKABLE QObject *deviceModel() { return m_model; }

private:
    DemoTreeModel *m_model;
};

// The joystick plugin: remembers what it was told, for the scene to show.
class JoystickPlugin : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString status READ status NOTIFY statusChanged)
public:
    using QObject::QObject;
    QString status() const { return m_status; }

    Q_INVOKABLE void onDeviceChanged(const QStringList &devices) { Set("devices: " + devices.join(", ")); }
    Q_INVOKABLE void handleButtonEvent(const QString &model, int keyId)
    {
        Set(QStringLiteral("button %1 on %2").arg(keyId).arg(model));
    }
    Q_INVOKABLE void axisChanged(double x, double y, double z) { Set(QStringLiteral("axes %1, %2, %3").arg(x).arg(y).arg(z)); }

signals:
    void statusChanged();

private:
    void Set(const QString &status)
    {
        m_status = status;
        emit statusChanged();
    }
    QString m_status = QStringLiteral("no joystick");
};

// A plugin with an argument-less signal, for "emitpluginsignal".
class AlarmPlugin : public QObject {
    Q_OBJECT
    Q_PROPERTY(int rings READ rings NOTIFY ringsChanged)
public:
    explicit AlarmPlugin(QObject *parent = nullptr) : QObject(parent)
    {
        connect(this, &AlarmPlugin::ring, this, [this] {
            ++m_rings;
            emit ringsChanged();
        });
    }
    int rings() const { return m_rings; }

signals:
    void ring();
    void ringsChanged();

private:
    int m_rings = 0;
};
