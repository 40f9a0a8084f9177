// Parsing method declarations ("Name(a as T, byref b as U) as V") and mapping
// declared type names onto the C types methods are called with.
#include <cctype>

#include "runtime.h"

namespace plugin_host {

std::string Lower(const std::string& s) {
  std::string r(s);
  for (char& c : r) c = LowerAscii(c);
  return r;
}

namespace {

std::string Trim(const std::string& s) {
  size_t b = 0, e = s.size();
  while (b < e && std::isspace(static_cast<unsigned char>(s[b]))) ++b;
  while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1]))) --e;
  return s.substr(b, e - b);
}

bool IsIdentifier(const std::string& s) {
  if (s.empty()) return false;
  for (char c : s) {
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_' && c != '.') return false;
  }
  return true;
}

// Splits "x as T" at its last " as " (any case); false without one.
bool SplitAs(const std::string& text, std::string* left, std::string* right) {
  std::string low = Lower(text);
  size_t pos = std::string::npos;
  for (size_t i = 0; i + 4 <= low.size(); ++i) {
    if (std::isspace(static_cast<unsigned char>(low[i])) && low.compare(i + 1, 2, "as") == 0 &&
        std::isspace(static_cast<unsigned char>(low[i + 3]))) {
      pos = i;
    }
  }
  if (pos == std::string::npos) return false;
  *left = Trim(text.substr(0, pos));
  *right = Trim(text.substr(pos + 4));
  return true;
}

// Strips a trailing "()" (with optional spaces inside).
bool StripArray(std::string* s) {
  std::string t = Trim(*s);
  if (t.size() >= 2 && t.back() == ')') {
    size_t open = t.rfind('(');
    if (open != std::string::npos && Trim(t.substr(open + 1, t.size() - open - 2)).empty()) {
      *s = Trim(t.substr(0, open));
      return true;
    }
  }
  *s = t;
  return false;
}

bool ParseParam(const std::string& text, Param* out) {
  std::string left, right;
  if (!SplitAs(" " + text + " ", &left, &right)) return false;
  // Leading keywords: ByRef, ByVal, Assigns.
  for (;;) {
    std::string low = Lower(left);
    size_t sp = low.find_first_of(" \t");
    if (sp == std::string::npos) break;
    std::string word = low.substr(0, sp);
    if (word == "byref") {
      out->byRef = true;
    } else if (word == "byval") {
    } else if (word == "assigns") {
      out->assigns = true;
    } else {
      break;
    }
    left = Trim(left.substr(sp));
  }
  bool arr = StripArray(&left);
  bool typeArr = StripArray(&right);
  if (!IsIdentifier(left) || !IsIdentifier(right)) return false;
  out->name = left;
  out->type = ResolveType(right, arr || typeArr);
  return true;
}

}  // namespace

TypeRef ResolveType(const std::string& name, bool array) {
  TypeRef t;
  t.name = name;
  t.array = array;
  if (array) {
    t.ctype = CType::Ptr;
    t.category = Category::Object;
    return t;
  }
  static const struct {
    const char* name;
    CType ctype;
    Category category;
  } kTypes[] = {
      {"integer", CType::Word, Category::Integer}, {"int8", CType::I8, Category::Integer},
      {"uint8", CType::U8, Category::Integer},     {"byte", CType::U8, Category::Integer},
      {"int16", CType::I16, Category::Integer},    {"short", CType::I16, Category::Integer},
      {"uint16", CType::U16, Category::Integer},   {"int32", CType::I32, Category::Integer},
      {"uint32", CType::U32, Category::Integer},   {"uinteger", CType::Word, Category::Integer},
      {"int64", CType::I64, Category::Integer},    {"uint64", CType::U64, Category::Integer},
      {"currency", CType::I64, Category::Integer}, {"ptr", CType::Ptr, Category::Integer},
      {"boolean", CType::Bool, Category::Boolean}, {"single", CType::Float, Category::Real},
      {"double", CType::Double, Category::Real},   {"color", CType::Color, Category::Color},
      {"string", CType::Ptr, Category::String},
  };
  std::string low = Lower(name);
  for (const auto& k : kTypes) {
    if (low == k.name) {
      t.ctype = k.ctype;
      t.category = k.category;
      return t;
    }
  }
  // Every other name is a class: variants, memory blocks, folder items,
  // dictionaries, dates and plug-in classes all travel as object handles.
  t.ctype = CType::Ptr;
  t.category = Category::Object;
  return t;
}

bool ParseDeclaration(const std::string& text, Declaration* out) {
  *out = Declaration();
  std::string t = Trim(text);
  std::string head = t, tail;
  size_t open = t.find('(');
  // A parameter list follows the name directly; a "(" after " as " belongs
  // to an array result ("List as T()").
  if (open != std::string::npos && !IsIdentifier(Trim(t.substr(0, open)))) open = std::string::npos;
  size_t close = std::string::npos;
  if (open != std::string::npos) {
    // The parameter list's closing parenthesis: match nesting for "x()".
    int depth = 0;
    for (size_t i = open; i < t.size(); ++i) {
      if (t[i] == '(') ++depth;
      if (t[i] == ')' && --depth == 0) {
        close = i;
        break;
      }
    }
    if (close == std::string::npos) return false;
    head = Trim(t.substr(0, open));
    std::string params = t.substr(open + 1, close - open - 1);
    tail = Trim(t.substr(close + 1));
    if (!Trim(params).empty()) {
      int d = 0;
      size_t start = 0;
      for (size_t i = 0; i <= params.size(); ++i) {
        if (i < params.size() && params[i] == '(') ++d;
        if (i < params.size() && params[i] == ')') --d;
        if (i == params.size() || (params[i] == ',' && d == 0)) {
          Param p;
          if (!ParseParam(params.substr(start, i - start), &p)) return false;
          out->params.push_back(p);
          start = i + 1;
        }
      }
    }
    if (!tail.empty()) {
      std::string low = Lower(tail);
      if (low.compare(0, 2, "as") != 0 || tail.size() < 3 ||
          !std::isspace(static_cast<unsigned char>(tail[2]))) {
        return false;
      }
      std::string type = Trim(tail.substr(3));
      bool arr = StripArray(&type);
      if (!IsIdentifier(type)) return false;
      out->result = ResolveType(type, arr);
    }
  } else {
    std::string left, right;
    if (SplitAs(" " + t + " ", &left, &right)) {
      head = left;
      bool arr = StripArray(&right);
      if (!IsIdentifier(right)) return false;
      out->result = ResolveType(right, arr);
    }
  }
  if (!IsIdentifier(head)) return false;
  out->name = head;
  return true;
}

void* MatchKnownMethod(const KnownMethod* known, size_t count, std::vector<Declaration>* parsed,
                       const Declaration& decl) {
  if (parsed->size() != count) {
    parsed->assign(count, Declaration());
    for (size_t i = 0; i < count; ++i) ParseDeclaration(known[i].text, &(*parsed)[i]);
  }
  for (size_t i = 0; i < count; ++i)
    if (SameSignature((*parsed)[i], decl)) return known[i].fn;
  return nullptr;
}

bool SameSignature(const Declaration& a, const Declaration& b) {
  if (!SameName(a.name, b.name) || a.params.size() != b.params.size()) return false;
  if (!SameName(a.result.name, b.result.name) || a.result.array != b.result.array) {
    return false;
  }
  for (size_t i = 0; i < a.params.size(); ++i) {
    const Param& p = a.params[i];
    const Param& q = b.params[i];
    if (!SameName(p.type.name, q.type.name) || p.type.array != q.type.array ||
        p.byRef != q.byRef || p.assigns != q.assigns) {
      return false;
    }
  }
  return true;
}

}  // namespace plugin_host
