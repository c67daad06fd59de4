#include "thread/builder.h"

namespace quillet {

struct ThreadBuilder::State {};
ThreadBuilder::ThreadBuilder(const ThreadOptions&) {}
ThreadBuilder::~ThreadBuilder() = default;
bool ThreadBuilder::Add(const ThreadEntry&) {
  return true;
}
std::unique_ptr<ThreadTree> ThreadBuilder::Finish(const BuildProgress&, const BuildAborted&) {
  return nullptr;
}
BuiltTree BuildNodeTree(std::u16string_view, const BuildProgress&) {
  return {};
}
bool SubjectsMatch(std::string_view a, std::string_view b) {
  return a == b;
}
std::string_view SubjectWithoutReplyMarks(std::string_view subject) {
  return subject;
}

}  // namespace quillet
