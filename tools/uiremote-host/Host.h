#pragma once
// The host behind uiremote-host: loads a QML file and makes it remotely controllable.
//
//   [--port N] [--listen ADDRESS] [--name-from-ids] [--dump-tree] [--screenshot FILE] [--import PATH] file.qml
//
// The first root object of the file is the search root and its window the default window. Without
// a display the host runs headless (offscreen platform, software scene graph). It prints
// "uiremote-host: listening on <port>" once clients can connect, and on SIGINT/SIGTERM it quits,
// saving the window's image first when --screenshot is given.

#include <QQmlApplicationEngine>

#include <functional>

// Runs the host until it is told to quit. prepare() runs before the QML file is loaded, so an
// application can publish its own context properties (host plugins) first.
int RunHost(int argc, char *argv[], const std::function<void(QQmlApplicationEngine &)> &prepare = {});
