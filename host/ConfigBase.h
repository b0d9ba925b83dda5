#pragma once
// Host framework: configuration record handed to the *Ex processors. Opaque to plugins.

class ConfigBase {
public:
    virtual ~ConfigBase() = default;
};
