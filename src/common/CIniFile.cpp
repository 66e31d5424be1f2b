#include "common/CIniFile.h"

#include <ini.h>
#include <strings.h>

#include <cctype>
#include <climits>
#include <cstdlib>

namespace zp {

namespace {

struct LookupContext {
  const char* section;
  const char* key;
  std::string* value;
  bool found;
};

int OnEntry(void* user, const char* section, const char* name, const char* value) {
  auto* ctx = static_cast<LookupContext*>(user);
  if (ctx->found || strcasecmp(section, ctx->section) != 0 || strcasecmp(name, ctx->key) != 0) {
    return 1;
  }
  *ctx->value = value != nullptr ? value : "";
  ctx->found = true;
  return 1;
}

}  // namespace

bool CIniFile::Lookup(const char* section, const char* key, std::string* value) const {
  if (section == nullptr || key == nullptr || m_strPath.empty()) {
    return false;
  }
  LookupContext ctx{section, key, value, false};
  // A syntax error further down does not hide keys already read, as with the Windows reader.
  ini_parse(m_strPath.c_str(), OnEntry, &ctx);
  return ctx.found;
}

int CIniFile::ReadInt(const char* section, const char* key, int defaultValue) const {
  std::string text;
  if (!Lookup(section, key, &text) || text.empty()) {
    return defaultValue;
  }
  const char* p = text.c_str();
  while (std::isspace(static_cast<unsigned char>(*p))) {
    ++p;
  }
  const long long v = std::strtoll(p, nullptr, 10);
  if (v > INT_MAX) {
    return INT_MAX;
  }
  return v < INT_MIN ? INT_MIN : static_cast<int>(v);
}

std::string CIniFile::ReadString(const char* section, const char* key, const std::string& defaultValue) const {
  std::string text;
  if (!Lookup(section, key, &text)) {
    return defaultValue;
  }
  return text;
}

}  // namespace zp
