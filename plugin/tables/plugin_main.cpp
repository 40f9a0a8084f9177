// The plug-in's one exported function: it keeps the host's resolver, learns
// the host version, picks the record layout that host reads, and registers
// the module and the four classes.
#include "frame/host_functions.h"
#include "frame/plugin_state.h"
#include "frame/registration.h"
#include "frame/tables.h"

namespace {

// Comparisons with NaN are false, so a version that is not a number falls
// through to the oldest layout, as no version at all does.
int32_t LayoutVersionFor(double hostVersion) {
  if (hostVersion >= 2013.03) return 12;
  if (hostVersion >= 2013.0) return 11;
  if (hostVersion >= 2012.0) return 10;
  return 9;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALResolver resolver) {
  gResolver = resolver;
  void *registerVersion = resolver ? resolver("RegisterPluginVersion") : nullptr;
  void *getVersion = resolver ? resolver("REALGetRBVersion") : nullptr;
  if (getVersion != nullptr) rbversion_rbversion = reinterpret_cast<REALGetRBVersion_fn>(getVersion)();
  CurrentREALControlVersion = LayoutVersionFor(rbversion_rbversion);
  // A host without "RegisterPluginVersion" is not told the layout; the
  // records still carry it in their word 0.
  if (registerVersion != nullptr)
    reinterpret_cast<RegisterPluginVersion_fn>(registerVersion)(CurrentREALControlVersion);

  MyREALRegisterModule(&KeychainModule);
  MyREALRegisterClass(&KeychainSearchClass);
  MyREALRegisterClass(&KeychainItemClass);
  MyREALRegisterClass(&KeychainSettingsClass);
  MyREALRegisterClass(&KeychainClass);
}
