/* A small credential helper, written as a program for Apple's keychain API
   would be, and built on Linux with a plain compile line:

     cc internet_password_helper.c -lSecurity -lCoreFoundation

   Its one argument is the operation: "store", "get" or "erase". It reads
   key=value lines on standard input until an empty line or the end of input
   (protocol, host, port, path, username, password; other keys are ignored)
   and keeps internet passwords in the default keychain through the SecItem
   calls alone (it calls nothing else in Security, which is what makes a
   weakly declared SecItem.h drop the library from a plain link). "get" prints the username= and password= lines of the first
   match. Finding nothing to get or erase is not a failure. A failing call
   prints its status on standard error and exits with 1; bad input exits
   with 2. */
#define _DEFAULT_SOURCE
#include <Security/Security.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define FIELD_SIZE 4096

struct request {
  char protocol[FIELD_SIZE];
  char host[FIELD_SIZE];
  char port[FIELD_SIZE];
  char path[FIELD_SIZE];
  char username[FIELD_SIZE];
  char password[FIELD_SIZE];
};

static struct request request;

static int bad_input(const char *what) {
  fprintf(stderr, "internet_password_helper: %s\n", what);
  return 2;
}

static int failed(const char *call, OSStatus status) {
  fprintf(stderr, "internet_password_helper: %s failed with status %d\n", call, (int)status);
  return 1;
}

static char *field(const char *key) {
  if (strcmp(key, "protocol") == 0) return request.protocol;
  if (strcmp(key, "host") == 0) return request.host;
  if (strcmp(key, "port") == 0) return request.port;
  if (strcmp(key, "path") == 0) return request.path;
  if (strcmp(key, "username") == 0) return request.username;
  if (strcmp(key, "password") == 0) return request.password;
  return NULL;
}

/* 0, or the exit status for bad input. */
static int read_request(void) {
  char line[FIELD_SIZE + 16];
  int status = 0;
  while (status == 0 && fgets(line, sizeof line, stdin)) {
    size_t length = strlen(line);
    if (length > 0 && line[length - 1] == '\n') line[--length] = '\0';
    else if (!feof(stdin)) status = bad_input("input line too long");
    if (status == 0 && length > 0 && line[length - 1] == '\r') line[--length] = '\0';
    if (status != 0 || length == 0) break;
    char *equals = strchr(line, '=');
    if (!equals) {
      status = bad_input("input line without '='");
      break;
    }
    *equals = '\0';
    char *target = field(line);
    if (target) {
      if (strlen(equals + 1) >= FIELD_SIZE) status = bad_input("input value too long");
      else strcpy(target, equals + 1);
    }
  }
  explicit_bzero(line, sizeof line);
  return status;
}

static CFStringRef protocol_constant(const char *name) {
  if (strcmp(name, "https") == 0) return kSecAttrProtocolHTTPS;
  if (strcmp(name, "http") == 0) return kSecAttrProtocolHTTP;
  if (strcmp(name, "ftp") == 0) return kSecAttrProtocolFTP;
  if (strcmp(name, "ftps") == 0) return kSecAttrProtocolFTPS;
  if (strcmp(name, "imap") == 0) return kSecAttrProtocolIMAP;
  if (strcmp(name, "imaps") == 0) return kSecAttrProtocolIMAPS;
  if (strcmp(name, "smtp") == 0) return kSecAttrProtocolSMTP;
  if (strcmp(name, "ssh") == 0) return kSecAttrProtocolSSH;
  return NULL;
}

static int put_text(CFMutableDictionaryRef dict, CFStringRef key, const char *text) {
  CFStringRef value = CFStringCreateWithCString(NULL, text, kCFStringEncodingUTF8);
  if (!value) return -1;
  CFDictionarySetValue(dict, key, value);
  CFRelease(value);
  return 0;
}

/* The attributes that name the item: class, host, and whichever of
   protocol, port, path and username were given. NULL for bad input. */
static CFMutableDictionaryRef item_query(int *exit_status) {
  CFMutableDictionaryRef query =
      CFDictionaryCreateMutable(NULL, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
  CFDictionarySetValue(query, kSecClass, kSecClassInternetPassword);
  const char *problem = NULL;
  if (!request.host[0] || put_text(query, kSecAttrServer, request.host) != 0) problem = "host missing or not UTF-8";
  if (!problem && request.protocol[0]) {
    CFStringRef protocol = protocol_constant(request.protocol);
    if (protocol) CFDictionarySetValue(query, kSecAttrProtocol, protocol);
    else problem = "unknown protocol";
  }
  if (!problem && request.port[0]) {
    char *end = NULL;
    long port = strtol(request.port, &end, 10);
    if (*end != '\0' || port < 1 || port > 65535) {
      problem = "port is not a number from 1 to 65535";
    } else {
      int value = (int)port;
      CFNumberRef number = CFNumberCreate(NULL, kCFNumberIntType, &value);
      CFDictionarySetValue(query, kSecAttrPort, number);
      CFRelease(number);
    }
  }
  if (!problem && request.path[0] && put_text(query, kSecAttrPath, request.path) != 0) problem = "path not UTF-8";
  if (!problem && request.username[0] && put_text(query, kSecAttrAccount, request.username) != 0)
    problem = "username not UTF-8";
  if (problem) {
    *exit_status = bad_input(problem);
    CFRelease(query);
    return NULL;
  }
  return query;
}

static int store(CFMutableDictionaryRef query) {
  if (!request.username[0] || !request.password[0]) return bad_input("store needs a username and a password");
  CFDataRef secret = CFDataCreate(NULL, (const UInt8 *)request.password, (CFIndex)strlen(request.password));
  CFMutableDictionaryRef attributes = CFDictionaryCreateMutableCopy(NULL, 0, query);
  CFDictionarySetValue(attributes, kSecValueData, secret);
  OSStatus status = SecItemAdd(attributes, NULL);
  CFRelease(attributes);
  const char *call = "SecItemAdd";
  if (status == errSecDuplicateItem) {
    CFMutableDictionaryRef change =
        CFDictionaryCreateMutable(NULL, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    CFDictionarySetValue(change, kSecValueData, secret);
    status = SecItemUpdate(query, change);
    CFRelease(change);
    call = "SecItemUpdate";
  }
  CFRelease(secret);
  return status == errSecSuccess ? 0 : failed(call, status);
}

static int get(CFMutableDictionaryRef query) {
  CFDictionarySetValue(query, kSecReturnAttributes, kCFBooleanTrue);
  CFDictionarySetValue(query, kSecReturnData, kCFBooleanTrue);
  CFDictionarySetValue(query, kSecMatchLimit, kSecMatchLimitOne);
  CFTypeRef result = NULL;
  OSStatus status = SecItemCopyMatching(query, &result);
  if (status == errSecItemNotFound) return 0;
  if (status != errSecSuccess) return failed("SecItemCopyMatching", status);
  if (CFGetTypeID(result) != CFDictionaryGetTypeID()) {
    CFRelease(result);
    return failed("SecItemCopyMatching", errSecInternalComponent);
  }
  CFStringRef account = CFDictionaryGetValue((CFDictionaryRef)result, kSecAttrAccount);
  CFDataRef secret = CFDictionaryGetValue((CFDictionaryRef)result, kSecValueData);
  char username[FIELD_SIZE] = "";
  if (account) CFStringGetCString(account, username, sizeof username, kCFStringEncodingUTF8);
  printf("username=%s\npassword=", username);
  if (secret) fwrite(CFDataGetBytePtr(secret), 1, (size_t)CFDataGetLength(secret), stdout);
  printf("\n");
  CFRelease(result);
  return 0;
}

static int erase(CFMutableDictionaryRef query) {
  OSStatus status = SecItemDelete(query);
  return status == errSecSuccess || status == errSecItemNotFound ? 0 : failed("SecItemDelete", status);
}

int main(int argc, char **argv) {
  if (argc != 2) return bad_input("usage: internet_password_helper store|get|erase");
  int (*operation)(CFMutableDictionaryRef) = NULL;
  if (strcmp(argv[1], "store") == 0) operation = store;
  else if (strcmp(argv[1], "get") == 0) operation = get;
  else if (strcmp(argv[1], "erase") == 0) operation = erase;
  else return bad_input("the operation is store, get or erase");
  int status = read_request();
  CFMutableDictionaryRef query = status == 0 ? item_query(&status) : NULL;
  if (query) {
    status = operation(query);
    CFRelease(query);
  }
  explicit_bzero(&request, sizeof request);
  return status;
}
