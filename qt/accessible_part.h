// SPDX-License-Identifier: GPL-3.0-or-later
// What a reader of the screen is told of things that are drawn without a widget of their own: rows,
// menu items, tabs, links. Display thread only.
#pragma once

#include <QAccessibleWidget>
#include <QHash>
#include <QPointer>
#include <memory>
#include <utility>

namespace quillet::qt {

// Whether a click or a key of the user would get to the widget now: what readers of the screen ask
// for comes past the toolkit's windows that block others.
bool TakesActions(const QWidget& widget);

// Drops the interface that a reader of the screen was given of a widget under construction: it is
// made for the class that had been constructed by then.
void ForgetInterface(QWidget& widget);

// A widget's part. It has no children of its own and no object; its owner may go before it.
class AccessiblePart : public QAccessibleInterface, public QAccessibleActionInterface {
 public:
  explicit AccessiblePart(QWidget& owner) : owner_(&owner) {}

  bool isValid() const override { return owner_ != nullptr; }
  QObject* object() const override { return nullptr; }
  QWindow* window() const override;
  QAccessibleInterface* parent() const override;
  QAccessibleInterface* child(int /*index*/) const override { return nullptr; }
  QAccessibleInterface* childAt(int /*x*/, int /*y*/) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface* /*child*/) const override { return -1; }
  void setText(QAccessible::Text /*kind*/, const QString& /*text*/) override {}
  void* interface_cast(QAccessible::InterfaceType type) override;
  QStringList keyBindingsForAction(const QString& /*action*/) const override { return {}; }

 protected:
  QWidget* Owner() const { return owner_; }

 private:
  QPointer<QWidget> owner_;
};

// The parts of a widget that somebody has asked for, by what they stand for. The toolkit keeps them
// until they are cleared.
template <class Key>
class AccessibleParts {
 public:
  AccessibleParts() = default;
  AccessibleParts(const AccessibleParts&) = delete;
  AccessibleParts& operator=(const AccessibleParts&) = delete;
  ~AccessibleParts() { Clear(); }

  // `make` returns a std::unique_ptr of the part, when it is asked for first.
  template <class Make>
  QAccessibleInterface* Of(const Key& key, const Make& make) {
    const auto found = ids_.constFind(key);
    if (found != ids_.constEnd()) return QAccessible::accessibleInterface(*found);
    QAccessibleInterface* part = make().release();
    ids_.insert(key, QAccessible::registerAccessibleInterface(part));
    return part;
  }

  void Clear() {
    for (const QAccessible::Id id : std::exchange(ids_, {})) {
      QAccessible::deleteAccessibleInterface(id);
    }
  }

 private:
  QHash<Key, QAccessible::Id> ids_;
};

// A widget that is told of by more than its own words: its tool tip, which repeats its name and may
// be mark-up, is none of its description.
class AccessibleOwner : public QAccessibleWidget {
 public:
  using QAccessibleWidget::QAccessibleWidget;
  QString text(QAccessible::Text kind) const override;
  // Who hands the focus on does not have it.
  QAccessible::State state() const override;
};

}  // namespace quillet::qt
