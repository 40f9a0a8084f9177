// Items as kctool shows them: read through the plug-in into a plain record,
// then printed in the keychain tool's text layout or as JSON.
#pragma once

#include <string>
#include <vector>

#include "json.h"
#include "plugin_client.h"

namespace kctool {

struct AttributeView {
  std::string tag;   // four characters
  std::string type;  // "blob", "timedate", "uint32" or "sint32"
  bool present = false;
  std::string bytes;
};

struct ItemView {
  std::string keychain;  // path
  std::string itemClass;  // "genp", "inet"
  std::vector<AttributeView> attributes;
  bool withSecret = false;
  std::string secret;
};

// Reads an item's class, keychain and attributes; its secret too when asked
// (status of that read in *secretStatus).
ItemView ReadItem(PluginClient &client, const Value &item, bool withSecret, long *secretStatus);

// The keychain tool's layout: keychain, version, class, then one line per
// attribute; the password line, when the item carries its secret.
std::string ItemText(const ItemView &item);
// The password line alone: "password: ..." with text quoted, other bytes hex.
std::string PasswordLine(const std::string &secret);
// A secret as -w prints it: text as it is, other bytes as hex.
std::string SecretAlone(const std::string &secret);

void ItemJson(Json &json, const ItemView &item);

}  // namespace kctool
