#pragma once
// Host framework: the wrapper through which a plugin may call back into the framework.
// Opaque to plugins; the host hands one to PluginBase::InitialPluginBase.

class FrameworkWrapperBase {
public:
    virtual ~FrameworkWrapperBase() = default;
};
