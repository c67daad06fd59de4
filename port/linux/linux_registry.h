// SPDX-License-Identifier: GPL-3.0-or-later
// The registry in one SQLite file: write-ahead log, mode 0600, its folders made with mode 0700.
//
// A write is in the file when Set returns and survives the end of the process at any moment; a
// power failure may take the last writes back, never a part of one. The layout is documented in
// port/linux/README.md.
#pragma once

#include <memory>
#include <string>

#include "port/registry.h"

namespace quillet::port {

class RegistryDatabase;

class LinuxRegistry final : public Registry {
 public:
  // Native path of the file. It is opened, and by Create also made, on first use.
  explicit LinuxRegistry(std::string file);
  ~LinuxRegistry() override;

  // All keys share one connection: a write through one key while another has a transaction open
  // joins that transaction. Keys may outlive the registry.
  std::unique_ptr<RegistryKey> Open(std::u16string_view path) override;
  std::unique_ptr<RegistryKey> Create(std::u16string_view path) override;

  // Where a file that was no registry, or a damaged one, was set aside (native path); empty when
  // that did not happen. It is noticed on the first Open or Create.
  std::string SetAsidePath() const;
  std::u16string DamagedFile() const override;
  std::u16string Obstacle() override;

 private:
  std::shared_ptr<RegistryDatabase> database_;
};

}  // namespace quillet::port
