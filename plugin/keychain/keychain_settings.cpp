// KeychainSettingsZNQ and the "Settings" property of KeychainZNQ, which
// copies the framework's settings record into a settings object and back.
#include "keychain/keychain_settings.h"

#include <Security/Security.h>
#include <string.h>

#include "frame/host_functions.h"
#include "frame/instance_data.h"

void KeychainSettingsConstructor(REALobject instance) { KeychainSettingsDataOf(instance)->version = 1; }

REALobject rbSecKeychainCopySettings(REALobject instance) {
  KeychainData *data = KeychainDataOf(instance);
  data->Lasterror = -1;
  if (data->Handle == 0) return nullptr;
  SecKeychainSettings record;
  memset(&record, 0, sizeof record);
  data->Lasterror = SecKeychainCopySettings(reinterpret_cast<SecKeychainRef>(data->Handle), &record);
  if (data->Lasterror != 0) return nullptr;

  REALobject settings = REALnewInstance("KeychainSettingsZNQ");
  if (settings == nullptr) return nullptr;
  // A new object's instance data sits where every plug-in object's does.
  KeychainSettingsData *fields = reinterpret_cast<KeychainSettingsData *>(ArgumentData(settings));
  fields->version = record.version;
  fields->lockOnSleep = record.lockOnSleep;
  fields->useLockInterval = record.useLockInterval;
  fields->lockInterval = record.lockInterval;
  return settings;
}

// Nil settings are no error: the all-zero record is passed.
void rbSecKeychainSetSettings(REALobject instance, REALobject settings) {
  KeychainData *data = KeychainDataOf(instance);
  data->Lasterror = -1;
  if (data->Handle == 0) return;
  SecKeychainSettings record;
  memset(&record, 0, sizeof record);
  if (settings != nullptr) {
    const KeychainSettingsData *fields =
        reinterpret_cast<const KeychainSettingsData *>(ArgumentData(settings));
    record.version = static_cast<UInt32>(fields->version);
    record.lockOnSleep = fields->lockOnSleep;
    record.useLockInterval = fields->useLockInterval;
    record.lockInterval = static_cast<UInt32>(fields->lockInterval);
  }
  data->Lasterror = SecKeychainSetSettings(reinterpret_cast<SecKeychainRef>(data->Handle), &record);
}
