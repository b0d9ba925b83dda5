#pragma once
// Host framework: the worker interface a plugin's worker implements. The slot order is part of
// the host's contract and must not change.

class QVariant;

class IPluginWorker {
public:
    virtual ~IPluginWorker() = default;
    virtual bool start(const QVariant &initParams) = 0;
    virtual bool controlObject(const QVariant &request, QVariant &retValue) = 0;
};
