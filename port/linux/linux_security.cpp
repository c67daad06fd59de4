// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/linux_security.h"

#include <cerrno>
#include <optional>
#include <utility>

#include "port/linux/gss_library.h"
#include "port/linux/ntlm_challenge.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::u16string_view kNtlm = u"NTLM";

// A name as the library keeps it.
class GssName {
 public:
  GssName(const GssLibrary& library, const std::string& text, gss_OID type) : library_(library) {
    OM_uint32 minor = 0;
    gss_buffer_desc buffer = GssBuffer(text);
    if (GSS_ERROR(library.import_name(&minor, &buffer, type, &name_))) name_ = GSS_C_NO_NAME;
  }
  GssName(const GssName&) = delete;
  GssName& operator=(const GssName&) = delete;
  ~GssName() {
    OM_uint32 minor = 0;
    if (name_ != GSS_C_NO_NAME) library_.release_name(&minor, &name_);
  }
  gss_name_t get() const { return name_; }

 private:
  const GssLibrary& library_;
  gss_name_t name_ = GSS_C_NO_NAME;
};

// Both in one name, as the mechanism wants it; nothing when it would read something else out of it.
// Without a user it would take one from the environment.
std::optional<std::string> MechanismName(const SecurityIdentity& identity) {
  constexpr std::u16string_view kNeverInUser(u"\\\0", 2);
  constexpr std::u16string_view kNeverInDomain(u"\\@\0", 3);
  if (identity.user.empty() || identity.user.find_first_of(kNeverInUser) != std::u16string::npos ||
      identity.domain.find_first_of(kNeverInDomain) != std::u16string::npos) {
    return std::nullopt;
  }
  if (!identity.domain.empty()) return ToUtf8(identity.domain) + "\\" + ToUtf8(identity.user);
  std::string name;
  for (const char c : ToUtf8(identity.user)) {
    // What follows the sign would be taken for a domain.
    if (c == '@') name += '\\';
    name += c;
  }
  return name;
}

}  // namespace

struct LinuxSecurity::Credentials {
  explicit Credentials(const GssLibrary& used) : library(used) {}
  Credentials(const Credentials&) = delete;
  Credentials& operator=(const Credentials&) = delete;
  ~Credentials() {
    OM_uint32 minor = 0;
    if (handle != GSS_C_NO_CREDENTIAL) library.release_cred(&minor, &handle);
  }
  const GssLibrary& library;
  gss_cred_id_t handle = GSS_C_NO_CREDENTIAL;
};

struct LinuxSecurity::Context {
  explicit Context(const GssLibrary& used) : library(used) {}
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;
  ~Context() {
    OM_uint32 minor = 0;
    if (handle != GSS_C_NO_CONTEXT) library.delete_sec_context(&minor, &handle, GSS_C_NO_BUFFER);
  }
  const GssLibrary& library;
  gss_ctx_id_t handle = GSS_C_NO_CONTEXT;
  bool ended = false;  // no step may follow
};

LinuxSecurity::LinuxSecurity(std::string library) : library_name_(std::move(library)) {}

LinuxSecurity::~LinuxSecurity() = default;

const GssLibrary* LinuxSecurity::Library() {
  if (!library_) library_ = GssLibrary::Load(library_name_);
  return library_.get();
}

std::vector<SecurityPackage> LinuxSecurity::EnumeratePackages() {
  if (!NtlmIsInstalled()) return {};
  return {{std::u16string(kNtlm), kSecurityIntegrity | kSecurityPrivacy}};
}

CredentialsHandle LinuxSecurity::AcquireCredentials(std::u16string_view package,
                                                    const SecurityIdentity& identity) {
  const std::optional<std::string> text = MechanismName(identity);
  // Without a password the mechanism looks for one in the user's files.
  if (package != kNtlm || !text || identity.password.empty()) return 0;
  const GssLibrary* library = Library();
  if (library == nullptr) return 0;
  const GssName name(*library, *text, library->user_name);
  if (name.get() == GSS_C_NO_NAME) return 0;
  const std::string password = ToUtf8(identity.password);
  gss_buffer_desc password_buffer = GssBuffer(password);
  gss_OID_set_desc mechanisms = {1, NtlmMechanism()};
  auto acquired = std::make_unique<Credentials>(*library);
  OM_uint32 minor = 0;
  const OM_uint32 major = library->acquire_cred_with_password(
      &minor, name.get(), &password_buffer, GSS_C_INDEFINITE, &mechanisms, GSS_C_INITIATE,
      &acquired->handle, nullptr, nullptr);
  if (GSS_ERROR(major)) return 0;
  credentials_.emplace(++last_handle_, std::move(acquired));
  return last_handle_;
}

SecurityStep LinuxSecurity::InitializeContext(CredentialsHandle credentials,
                                              SecurityContextHandle& context,
                                              std::u16string_view target, std::string_view input) {
  const auto used = credentials_.find(credentials);
  if (used == credentials_.end()) return {kSecurityNoCredentials, 0, {}};
  const GssLibrary& library = used->second->library;
  const bool first = context == 0;
  if (first) {
    context = ++last_handle_;
    contexts_.emplace(context, std::make_unique<Context>(library));
  }
  const auto found = contexts_.find(context);
  if (found == contexts_.end() || found->second->ended) return {};
  Context& state = *found->second;
  if (!first && !IsSoundNtlmChallenge(input)) {
    state.ended = true;
    return {kSecurityInvalidToken, EINVAL, {}};
  }
  const GssName name(library, ToUtf8(target), library.hostbased_service);
  gss_buffer_desc in = GssBuffer(input);
  gss_buffer_desc out{};
  OM_uint32 minor = 0;
  const OM_uint32 major = library.init_sec_context(
      &minor, used->second->handle, &state.handle, name.get(), NtlmMechanism(), 0, 0,
      GSS_C_NO_CHANNEL_BINDINGS, first ? GSS_C_NO_BUFFER : &in, nullptr, &out, nullptr, nullptr);
  SecurityStep step{SecurityResultOf(major), static_cast<std::int32_t>(minor), {}};
  if (out.length > kLongestSecurityToken) {
    step.result = kSecurityFailed;
  } else if (out.length != 0) {
    step.token.assign(static_cast<const char*>(out.value), out.length);
  }
  library.release_buffer(&minor, &out);
  state.ended = step.result != kSecurityContinueNeeded;
  return step;
}

void LinuxSecurity::FreeContext(SecurityContextHandle context) {
  contexts_.erase(context);
}

void LinuxSecurity::FreeCredentials(CredentialsHandle credentials) {
  credentials_.erase(credentials);
}

}  // namespace quillet::port
