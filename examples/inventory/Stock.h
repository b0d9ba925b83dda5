#pragma once
// A C++ type the QML scene instantiates: a stock counter with a limit.

#include <QObject>

class Stock : public QObject {
    Q_OBJECT
    Q_PROPERTY(int count READ count WRITE setCount NOTIFY countChanged)
    Q_PROPERTY(int limit MEMBER m_limit NOTIFY limitChanged)
public:
    using QObject::QObject;

    int count() const { return m_count; }
    void setCount(int count)
    {
        if (count == m_count)
            return;
        m_count = count;
        emit countChanged();
        if (m_count == m_limit)
            emit limitReached();
    }

    Q_INVOKABLE void add(int amount) { setCount(m_count + amount); }
    Q_INVOKABLE QString describe() const { return QStringLiteral("%1 of %2").arg(m_count).arg(m_limit); }

signals:
    void countChanged();
    void limitChanged();
    void limitReached();

private:
    int m_count = 0;
    int m_limit = 5;
};
