// The verbs that work on items: adding, finding, deleting and dumping
// generic and internet passwords, and the text of a status.
//
// Adds go through the plug-in's password calls, then set the attributes
// those calls do not take on the new item object. Finds and deletes describe
// what they look for in a query dictionary of the given attributes only, so
// that anything left out matches anything, as the keychain tool treats it.
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "command.h"
#include "item_view.h"
#include "json.h"
#include "secrets.h"
#include "verbs.h"

namespace kctool {

namespace {

bool IsInternet(const Command &c) { return strstr(c.verb().name, "internet") != nullptr; }

// A four-character code from the command line: exactly four characters.
std::optional<uint32_t> Code(const std::string &text) {
  if (text.size() != 4) return std::nullopt;
  uint32_t code = 0;
  for (unsigned char ch : text) code = (code << 8) | ch;
  return code;
}

std::optional<long> Port(const std::string &text) {
  char *end = nullptr;
  const long port = strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || port < 0 || port > 65535) return std::nullopt;
  return port;
}

// The query name's text, as the plug-in gives it.
Value Name(PluginClient &client, const char *name) { return client.Shared(name, {}); }

void Put(PluginClient &client, const Value &dict, const char *name, const Value &value) {
  Value boxed = value.kind() == plugin_host::Kind::Object ? value : client.host().Variant(value);
  client.host().DictionarySet(dict, client.host().Variant(Name(client, name)), boxed);
}

// Which option matches which attribute, for both classes.
struct MatchOption {
  char option;
  const char *key;  // query name
  bool internetOnly;
  bool genericOnly;
};
const MatchOption kTextMatches[] = {
    {'a', "kSecAttrAccount", false, false},     {'D', "kSecAttrDescription", false, false},
    {'j', "kSecAttrComment", false, false},     {'l', "kSecAttrLabel", false, false},
    {'G', "kSecAttrGeneric", false, true},      {'d', "kSecAttrSecurityDomain", true, false},
    {'p', "kSecAttrPath", true, false},         {'r', "kSecAttrProtocol", true, false},
    {'t', "kSecAttrAuthenticationType", true, false},
};

// The query for a find or delete: the class, the search list (the keychains
// named, else the default search list), every match, and the attributes
// given. Nil after a usage error has been reported.
Value MatchQuery(Command &c, int *exitStatus) {
  PluginClient &client = c.client();
  const Options &o = c.options();
  const bool internet = IsInternet(c);
  Value query = client.host().Dictionary();
  Put(client, query, "kSecClass", Name(client, internet ? "kSecClassInternetPassword" : "kSecClassGenericPassword"));
  Put(client, query, "kSecMatchLimit", Name(client, "kSecMatchLimitAll"));
  if (auto s = o.Value('s')) Put(client, query, internet ? "kSecAttrServer" : "kSecAttrService", client.Text(*s));
  for (const MatchOption &m : kTextMatches) {
    if ((m.internetOnly && !internet) || (m.genericOnly && internet)) continue;
    if (auto v = o.Value(m.option)) Put(client, query, m.key, client.Text(*v));
  }
  if (internet) {
    if (auto p = o.Value('P')) {
      auto port = Port(*p);
      if (!port) {
        *exitStatus = c.Usage();
        return Value();
      }
      Put(client, query, "kSecAttrPort", Value::Int32(static_cast<int32_t>(*port)));
    }
  }
  for (char option : {'c', 'C'}) {
    if (auto v = o.Value(option)) {
      auto code = Code(*v);
      if (!code) {
        *exitStatus = c.Usage();
        return Value();
      }
      Put(client, query, option == 'c' ? "kSecAttrCreator" : "kSecAttrType",
          Value::Int32(static_cast<int32_t>(*code)));
    }
  }
  if (!o.operands.empty()) {
    std::vector<Value> keychains;
    for (const std::string &name : o.operands) {
      Value keychain = c.Keychain(name);
      if (keychain.isNil()) {
        *exitStatus = 1;
        return Value();
      }
      keychains.push_back(keychain);
    }
    Put(client, query, "kSecMatchSearchList", client.host().Array(kREALArrayObject, keychains));
  }
  return query;
}

// The first item a find or delete matches; nil with the exit status set.
Value FirstMatch(Command &c, int *exitStatus) {
  Value query = MatchQuery(c, exitStatus);
  if (query.isNil()) return Value();
  PluginClient &client = c.client();
  Value items = client.Shared("CopyMatchingItems", {"dictionary"}, {query});
  const long status = client.LastError();
  if (status != 0 || client.host().ArrayUBound(items) < 0) {
    *exitStatus = c.Fail(status != 0 ? status : -25300);
    return Value();
  }
  return client.host().ArrayElement(items, 0);
}

void PrintJsonItems(const std::vector<ItemView> &items) {
  Json json;
  json.BeginObject();
  json.Key("items");
  json.BeginArray();
  for (const ItemView &item : items) ItemJson(json, item);
  json.EndArray();
  json.EndObject();
  fputs(json.Text().c_str(), stdout);
}

// Sets the attributes of an added or updated item that the add does not
// take; the first failure's status, or 0.
long SetExtraAttributes(Command &c, const Value &item) {
  PluginClient &client = c.client();
  const Options &o = c.options();
  const std::pair<char, const char *> named[] = {{'l', "Label"}, {'j', "Comment"}, {'D', "Description"}};
  for (const auto &[option, property] : named) {
    if (auto v = o.Value(option)) {
      client.Assign(item, property, {}, {}, client.Text(*v));
      if (long status = client.ObjectStatus(item)) return status;
    }
  }
  auto setData = [&](const char *tag, const std::string &bytes) {
    client.Assign(item, "AttributeData", {"string"}, {client.Text(tag)}, client.Bytes(bytes));
    return client.ObjectStatus(item);
  };
  if (auto v = o.Value('G'))
    if (long status = setData("gena", *v)) return status;
  for (char option : {'c', 'C'}) {
    if (auto v = o.Value(option)) {
      const uint32_t code = *Code(*v);  // checked before the add
      if (long status = setData(option == 'c' ? "crtr" : "type", std::string(reinterpret_cast<const char *>(&code), 4)))
        return status;
    }
  }
  return 0;
}

}  // namespace

int AddPassword(Command &c) {
  const Options &o = c.options();
  const bool internet = IsInternet(c);
  if (o.operands.size() > 1) return c.Usage();
  for (char option : {'c', 'C'})
    if (auto v = o.Value(option); v && !Code(*v)) return c.Usage();
  for (char option : {'r', 't'})
    if (auto v = o.Value(option); v && !Code(*v)) return c.Usage();
  long port = 0;
  if (auto p = o.Value('P')) {
    auto parsed = Port(*p);
    if (!parsed) return c.Usage();
    port = *parsed;
  }
  // The secret: -X as hex, -w as text, asked for when -w ends the command,
  // empty when neither is given.
  std::string secret;
  if (auto hex = o.Value('X')) {
    auto bytes = FromHex(*hex);
    if (!bytes) return c.Fail("-X: \"" + *hex + "\" is not a hex string");
    secret = *bytes;
  } else if (o.Has('w')) {
    auto read = c.Secret('w', "password data for new item: ");
    if (!read) return c.Fail("no password could be read");
    secret = *read;
  }
  PluginClient &client = c.client();
  Value keychain = c.Keychain(o.operands.empty() ? "" : o.operands[0]);
  if (keychain.isNil()) {
    Wipe(&secret);
    return 1;
  }
  const std::string account = o.Value('a').value_or("");
  const std::string service = o.Value('s').value_or("");
  // Authentication types are kept as the bytes of their code in reading
  // order; the plug-in stores the code it makes of the text in memory order,
  // so the text goes in reversed.
  std::string auth = o.Value('t').value_or("dflt");
  std::reverse(auth.begin(), auth.end());
  const std::vector<Value> internetArgs = {keychain,          client.Text(service),
                                           client.Text(o.Value('d').value_or("")),
                                           client.Text(account), client.Text(o.Value('p').value_or("")),
                                           Value::Integer(port), client.Text(o.Value('r').value_or("    ")),
                                           client.Text(auth)};
  auto find = [&]() {
    if (internet) {
      std::vector<Arg> args(internetArgs.begin(), internetArgs.end());
      return client.Shared("FindInternetItem",
                           {"KeychainZNQ", "string", "string", "string", "string", "integer", "string", "string"}, args);
    }
    return client.Shared("FindGenericItem", {"KeychainZNQ", "string", "string"},
                         {keychain, client.Text(service), client.Text(account)});
  };
  Value item;
  Value block = client.Bytes(secret);
  Wipe(&secret);
  if (o.Has('U')) item = find();
  if (!item.isNil()) {
    client.Assign(item, "Password", {}, {}, block);
    if (long status = client.ObjectStatus(item)) return c.Fail(status);
  } else if (internet) {
    std::vector<Arg> args(internetArgs.begin(), internetArgs.end());
    args.push_back(block);
    item = client.Shared("AddInternetPassword",
                         {"KeychainZNQ", "string", "string", "string", "string", "integer", "string", "string",
                          "memoryblock"},
                         args);
  } else {
    item = client.Shared("AddGenericPassword", {"KeychainZNQ", "string", "string", "memoryblock"},
                         {keychain, client.Text(service), client.Text(account), block});
  }
  if (item.isNil()) return c.Fail(client.LastError());
  const long status = SetExtraAttributes(c, item);
  return status == 0 ? 0 : c.Fail(status);
}

int FindPassword(Command &c) {
  int exitStatus = 0;
  Value item = FirstMatch(c, &exitStatus);
  if (item.isNil()) return exitStatus;
  const Options &o = c.options();
  const bool wantSecret = o.Has('g') || o.Has('w');
  long secretStatus = 0;
  ItemView view = ReadItem(c.client(), item, wantSecret, &secretStatus);
  if (wantSecret && secretStatus != 0) return c.Fail(secretStatus);
  if (o.Has('w')) {
    fputs(SecretAlone(view.secret).c_str(), stdout);
    Wipe(&view.secret);
    return 0;
  }
  if (o.json) {
    PrintJsonItems({view});
  } else {
    view.withSecret = false;  // the password goes to standard error
    fputs(ItemText(view).c_str(), stdout);
    if (wantSecret) fputs(PasswordLine(view.secret).c_str(), stderr);
  }
  Wipe(&view.secret);
  return 0;
}

int DeletePassword(Command &c) {
  int exitStatus = 0;
  Value item = FirstMatch(c, &exitStatus);
  if (item.isNil()) return exitStatus;
  ItemView view = ReadItem(c.client(), item, false, nullptr);
  c.client().Method(item, "Delete");
  const long status = c.client().ObjectStatus(item);
  if (status != 0) return c.Fail(status);
  if (c.options().json) {
    PrintJsonItems({view});
  } else {
    fputs(ItemText(view).c_str(), stdout);
    puts("password has been deleted.");
  }
  return 0;
}

// Every item of every class the keychains hold; -d adds the secrets.
int DumpKeychain(Command &c) {
  PluginClient &client = c.client();
  std::vector<Value> keychains;
  if (c.options().operands.empty()) {
    Value list = client.Shared("SearchList", {});
    if (client.LastError() != 0) return c.Fail(client.LastError());
    for (RBInteger i = 0; i <= client.host().ArrayUBound(list); ++i) keychains.push_back(client.host().ArrayElement(list, i));
  } else {
    keychains = c.Keychains();
  }
  std::vector<ItemView> items;
  for (const Value &keychain : keychains) {
    if (keychain.isNil()) return 1;
    for (const char *itemClass : {"genp", "inet"}) {
      Value all = client.Shared("AllItems", {"KeychainZNQ", "string"}, {keychain, client.Text(itemClass)});
      if (client.LastError() != 0) return c.Fail(client.LastError());
      for (RBInteger i = 0; i <= client.host().ArrayUBound(all); ++i) {
        long secretStatus = 0;
        items.push_back(ReadItem(client, client.host().ArrayElement(all, i), c.options().Has('d'), &secretStatus));
        if (secretStatus != 0) return c.Fail(secretStatus);
      }
    }
  }
  if (c.options().json) {
    PrintJsonItems(items);
  } else {
    for (const ItemView &item : items) fputs(ItemText(item).c_str(), stdout);
  }
  for (ItemView &item : items) Wipe(&item.secret);
  return 0;
}

// "Error: 0xFFFF9D2C -25300 The item could not be found..."
int ErrorText(Command &c) {
  if (c.options().operands.empty()) return c.Usage();
  for (const std::string &text : c.options().operands) {
    char *end = nullptr;
    const long status = strtol(text.c_str(), &end, 0);
    if (text.empty() || *end != '\0') return c.Usage();
    const std::string message = c.client().Message(status);
    printf("Error: 0x%08X %ld %s\n", static_cast<unsigned>(status), status,
           message.empty() ? "unknown status" : message.c_str());
  }
  return 0;
}

}  // namespace kctool
