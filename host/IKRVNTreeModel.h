#pragma once
// Host framework: the tree-model interface that host plugins hand out. Only valueByRoleName,
// valueByRole and groupModel are used by this library; the other operations keep the host's
// slot order.

#include <QObject>
#include <QString>
#include <QVariant>

class IKRVNTreeModel : public QObject {
public:
    // Role under which a row's child model is stored, as a QObject pointer.
    static const int ChildModelRole = Qt::UserRole + 3;

    explicit IKRVNTreeModel(QObject *parent = nullptr) : QObject(parent) {}
    ~IKRVNTreeModel() override = default;

    virtual int rowCount() const = 0;
    virtual QVariant valueByRoleName(int row, const QString &roleName) const = 0;
    virtual QVariant valueByRole(int row, int role) const = 0;
    virtual bool setValueByRoleName(int row, const QString &roleName, const QVariant &value) = 0;
    virtual IKRVNTreeModel *groupModel(const QString &groupRoleName, int option) = 0;
    virtual IKRVNTreeModel *parentModel() const = 0;
};
