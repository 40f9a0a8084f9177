// Reading and showing items.
#include "item_view.h"

#include <cstdio>
#include <cstring>

#include "secrets.h"

namespace kctool {

namespace {

struct AttributeKind {
  const char *tag;
  const char *type;
};

// What each class shows, in the order the tool prints it.
const AttributeKind kGeneric[] = {
    {"acct", "blob"},   {"cdat", "timedate"}, {"crtr", "uint32"}, {"cusi", "sint32"}, {"desc", "blob"},
    {"gena", "blob"},   {"icmt", "blob"},     {"invi", "sint32"}, {"labl", "blob"},   {"mdat", "timedate"},
    {"nega", "sint32"}, {"scrp", "sint32"},   {"svce", "blob"},   {"type", "uint32"},
};
const AttributeKind kInternet[] = {
    {"acct", "blob"},   {"atyp", "blob"},     {"cdat", "timedate"}, {"crtr", "uint32"}, {"cusi", "sint32"},
    {"desc", "blob"},   {"icmt", "blob"},     {"invi", "sint32"},   {"labl", "blob"},   {"mdat", "timedate"},
    {"nega", "sint32"}, {"path", "blob"},     {"port", "uint32"},   {"ptcl", "uint32"}, {"scrp", "sint32"},
    {"sdmn", "blob"},   {"srvr", "blob"},     {"type", "uint32"},
};

std::string Quoted(const std::string &bytes) {
  std::string out = "\"";
  for (unsigned char c : bytes) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20 || c >= 0x7F) {
      char escaped[8];
      snprintf(escaped, sizeof escaped, "\\%03o", c);
      out += escaped;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + "\"";
}

uint32_t Number(const std::string &bytes) {
  uint32_t v = 0;
  memcpy(&v, bytes.data(), bytes.size() < 4 ? bytes.size() : 4);
  return v;
}

// A four-character code reads in the order its characters were written.
std::string CodeText(uint32_t v) {
  std::string code;
  for (int shift = 24; shift >= 0; shift -= 8) code.push_back(static_cast<char>((v >> shift) & 0xFF));
  for (char c : code)
    if (c < 0x20 || c > 0x7E) return std::string();
  return code;
}

std::string ValueText(const AttributeView &a) {
  if (!a.present || a.bytes.empty()) return "<NULL>";
  if (a.tag == "port") return std::to_string(Number(a.bytes));
  if (a.type == "uint32") {
    const uint32_t v = Number(a.bytes);
    const std::string code = CodeText(v);
    if (!code.empty()) return "\"" + code + "\"";
    char hex[16];
    snprintf(hex, sizeof hex, "0x%08X", v);
    return hex;
  }
  if (a.type == "sint32") return std::to_string(static_cast<int32_t>(Number(a.bytes)));
  if (a.type == "blob" && IsPrintableText(a.bytes)) return Quoted(a.bytes);
  return "0x" + ToHex(a.bytes) + "  " + Quoted(a.bytes);
}

}  // namespace

ItemView ReadItem(PluginClient &client, const Value &item, bool withSecret, long *secretStatus) {
  ItemView view;
  view.itemClass = client.TextOf(client.Method(item, "ItemClass"));
  Value keychain = client.Method(item, "Keychain");
  if (!keychain.isNil()) view.keychain = client.TextOf(client.Method(keychain, "Path"));
  const bool internet = view.itemClass == "inet";
  const AttributeKind *kinds = internet ? kInternet : kGeneric;
  const size_t count = internet ? std::size(kInternet) : std::size(kGeneric);
  for (size_t i = 0; i < count; ++i) {
    AttributeView a{kinds[i].tag, kinds[i].type, false, std::string()};
    Value data = client.Method(item, "AttributeData", {"string"}, {client.Text(a.tag)});
    a.present = !data.isNil();
    a.bytes = client.BytesOf(data);
    view.attributes.push_back(a);
  }
  if (withSecret) {
    view.withSecret = true;
    view.secret = client.BytesOf(client.Method(item, "Password"));
    if (secretStatus) *secretStatus = client.ObjectStatus(item);
  }
  return view;
}

std::string PasswordLine(const std::string &secret) {
  if (IsPrintableText(secret)) return "password: " + Quoted(secret) + "\n";
  return "password: 0x" + ToHex(secret) + "  " + Quoted(secret) + "\n";
}

std::string SecretAlone(const std::string &secret) {
  return (IsPrintableText(secret) ? secret : ToHex(secret)) + "\n";
}

std::string ItemText(const ItemView &item) {
  std::string out = "keychain: " + Quoted(item.keychain) + "\n";
  out += "version: 512\n";
  out += "class: " + Quoted(item.itemClass) + "\n";
  out += "attributes:\n";
  for (const AttributeView &a : item.attributes) out += "    \"" + a.tag + "\"<" + a.type + ">=" + ValueText(a) + "\n";
  if (item.withSecret) out += PasswordLine(item.secret);
  return out;
}

void ItemJson(Json &json, const ItemView &item) {
  auto bytesValue = [&json](const std::string &bytes) {
    if (IsPrintableText(bytes)) {
      json.String(bytes);
    } else {
      json.BeginObject();
      json.Key("hex");
      json.String(ToHex(bytes));
      json.EndObject();
    }
  };
  json.BeginObject();
  json.Key("keychain");
  json.String(item.keychain);
  json.Key("class");
  json.String(item.itemClass);
  json.Key("attributes");
  json.BeginObject();
  for (const AttributeView &a : item.attributes) {
    json.Key(a.tag);
    if (!a.present || a.bytes.empty()) {
      json.Null();
    } else if (a.type == "uint32" && !CodeText(Number(a.bytes)).empty() && a.tag != "port") {
      json.String(CodeText(Number(a.bytes)));
    } else if (a.type == "uint32") {
      json.Number(Number(a.bytes));
    } else if (a.type == "sint32") {
      json.Number(static_cast<int32_t>(Number(a.bytes)));
    } else if (a.type == "timedate") {
      json.String(std::string(a.bytes.c_str()));  // the text before its terminator
    } else {
      bytesValue(a.bytes);
    }
  }
  json.EndObject();
  if (item.withSecret) {
    json.Key("password");
    bytesValue(item.secret);
  }
  json.EndObject();
}

}  // namespace kctool
