// SPDX-License-Identifier: GPL-3.0-or-later
// Owning what a C library frees: std::unique_ptr<X509, FreedBy<X509_free>>.
#pragma once

namespace quillet {

template <auto kFree>
struct FreedBy {
  template <class T>
  void operator()(T* object) const {
    kFree(object);
  }
};

}  // namespace quillet
