// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/gss_library.h"

#include <dlfcn.h>
#include <glob.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <vector>

#include "port/linux/bind_call.h"
#include "port/linux/native_files.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr const char* kNtlmOid = "1.3.6.1.4.1.311.2.2.10";
constexpr std::uint64_t kLongestList = 65536;

// The library exports variables that point to the identifiers.
bool BindOid(void* library, const char* name, gss_OID& oid) {
  gss_OID* variable = nullptr;
  if (!BindCall(library, name, variable)) return false;
  oid = *variable;
  return oid != nullptr;
}

// The files that the library itself reads, in the same way.
std::vector<std::string> MechanismLists() {
  if (const char* list = secure_getenv("GSS_MECH_CONFIG")) return {list};
  std::vector<std::string> lists = {"/etc/gss/mech"};
  glob_t found{};
  if (glob("/etc/gss/mech.d/*.conf", 0, nullptr, &found) == 0) {
    lists.insert(lists.end(), found.gl_pathv, found.gl_pathv + found.gl_pathc);
  }
  globfree(&found);
  return lists;
}

// A line is "NAME OID LIBRARY ...".
bool NamesNtlm(const std::string& line) {
  std::istringstream words(line);
  std::string name;
  std::string oid;
  std::string library;
  if (!(words >> name >> oid >> library) || StartsWith(name, "#") || oid != kNtlmOid) return false;
  return !StartsWith(library, "/") || access(library.c_str(), R_OK) == 0;
}

}  // namespace

std::unique_ptr<GssLibrary> GssLibrary::Load(const std::string& name) {
  // Never unloaded: its plug-ins leave things behind that point into it.
  void* library = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return nullptr;
  auto calls = std::make_unique<GssLibrary>();
  const bool complete =
      BindCall(library, "gss_import_name", calls->import_name) &&
      BindCall(library, "gss_release_name", calls->release_name) &&
      BindCall(library, "gss_acquire_cred_with_password", calls->acquire_cred_with_password) &&
      BindCall(library, "gss_release_cred", calls->release_cred) &&
      BindCall(library, "gss_init_sec_context", calls->init_sec_context) &&
      BindCall(library, "gss_delete_sec_context", calls->delete_sec_context) &&
      BindCall(library, "gss_release_buffer", calls->release_buffer) &&
      BindOid(library, "GSS_C_NT_USER_NAME", calls->user_name) &&
      BindOid(library, "GSS_C_NT_HOSTBASED_SERVICE", calls->hostbased_service);
  return complete ? std::move(calls) : nullptr;
}

gss_OID NtlmMechanism() {
  static char bytes[] = "\x2B\x06\x01\x04\x01\x82\x37\x02\x02\x0A";
  static gss_OID_desc oid = {sizeof bytes - 1, bytes};
  return &oid;
}

gss_buffer_desc GssBuffer(std::string_view text) {
  gss_buffer_desc buffer{};
  buffer.length = text.size();
  buffer.value = const_cast<char*>(text.data());  // NOLINT: it is read only
  return buffer;
}

SecurityResult SecurityResultOf(OM_uint32 major) {
  if (!GSS_ERROR(major)) {
    return (major & GSS_S_CONTINUE_NEEDED) != 0 ? kSecurityContinueNeeded : kSecurityDone;
  }
  switch (GSS_ROUTINE_ERROR(major)) {
    case GSS_S_DEFECTIVE_TOKEN:
      return kSecurityInvalidToken;
    case GSS_S_NO_CRED:
      return kSecurityNoCredentials;
    case GSS_S_DEFECTIVE_CREDENTIAL:
      return kSecurityLogonDenied;
    case GSS_S_BAD_MECH:
      return kSecurityNoPackage;
    default:
      return kSecurityFailed;
  }
}

bool NtlmIsInstalled() {
  for (const std::string& path : MechanismLists()) {
    std::istringstream list(ReadBoundedFile(path, kLongestList).value_or(""));
    for (std::string line; std::getline(list, line);) {
      if (NamesNtlm(line)) return true;
    }
  }
  return false;
}

}  // namespace quillet::port
