// uiremote-host: serves any QML file through the UI remote control (see Host.h for the options).

#include "Host.h"

int main(int argc, char *argv[])
{
    return RunHost(argc, argv);
}
