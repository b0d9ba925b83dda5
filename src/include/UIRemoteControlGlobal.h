#pragma once
// The export macro of the library (UIREMOTECONTROL_EXPORT).
#include <QtCore/qglobal.h>

#if defined(UIREMOTECONTROL_LIBRARY)
#define UIREMOTECONTROL_EXPORT Q_DECL_EXPORT
#else
#define UIREMOTECONTROL_EXPORT Q_DECL_IMPORT
#endif
