// What the two files of the preloaded probe share: ProbeShim.cpp decides whether and when to
// serve the program, ProbeShimDlopen.cpp tells it when the program loads libraries at run time.
#pragma once

namespace uirc_shim {

using DlopenFunction = void *(*)(const char *, int);

// The C library's dlopen, for the probe's own loads (they bypass its watch).
DlopenFunction RealDlopen();

// Looks again whether the program now holds Qt (and Qt Quick), once nothing has decided yet;
// called after the program's loads. Cheap once the probe has decided.
void LookForQt();

} // namespace uirc_shim
