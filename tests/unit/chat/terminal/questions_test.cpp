#include "terminal/questions.h"

#include "terminal/plain_line_editor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <sstream>

namespace {

using testing::ElementsAre;

class TypedQuestions : public testing::Test {
 protected:
  std::vector<std::string> readAll(const std::string& input) {
    std::istringstream in(input);
    PlainLineEditor editor(in, err_);
    Questions questions(editor, history_);
    std::vector<std::string> all;
    while (std::optional<std::string> question = questions.read()) all.push_back(*question);
    return all;
  }

  QuestionHistory history_;
  std::ostringstream err_;
};

TEST_F(TypedQuestions, AreLinesThatAreNotBlank) {
  EXPECT_THAT(readAll("one\n\n  two \r\n"), ElementsAre("one", "two"));
  EXPECT_EQ(err_.str(), "> > > > ");
  EXPECT_THAT(history_.entries(), ElementsAre("one")) << "two began with a blank";
}

struct BlockCase {
  const char* name;
  std::string input;
  std::vector<std::string> questions;
};
class Block : public TypedQuestions, public testing::WithParamInterface<BlockCase> {};

TEST_P(Block, IsOneQuestion) { EXPECT_EQ(readAll(GetParam().input), GetParam().questions); }

INSTANTIATE_TEST_SUITE_P(Forms, Block,
                         testing::Values(BlockCase{"marks_alone", "\"\"\"\na\n b\n\"\"\"\nc\n", {"a\n b", "c"}},
                                         BlockCase{"marks_beside_text", "\"\"\"a\nb\"\"\"\n", {"a\nb"}},
                                         BlockCase{"one_line", "\"\"\"a\"\"\"\n", {"a"}},
                                         BlockCase{"empty_lines_within", "\"\"\"\na\n\nb\n\"\"\"\n", {"a\n\nb"}},
                                         BlockCase{"nothing_in_it", "\"\"\"\n\"\"\"\nc\n", {"c"}},
                                         BlockCase{"never_closed", "\"\"\"\na\n", {}}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(TypedQuestions, HaveAnotherPromptWithinABlock) {
  readAll("\"\"\"\na\n\"\"\"\n");
  EXPECT_EQ(err_.str(), "> . . > ");
  EXPECT_THAT(history_.entries(), ElementsAre("a"));
}

/// Gives what it is told to.
class FakeEditor : public LineEditor {
 public:
  explicit FakeEditor(std::vector<TypedLine> lines) : lines_(std::move(lines)) {}
  TypedLine readLine(const std::string& /*prompt*/) override {
    return next_ < lines_.size() ? lines_[next_++] : TypedLine();
  }
  void interrupt() override {}

 private:
  std::vector<TypedLine> lines_;
  std::size_t next_ = 0;
};

TEST_F(TypedQuestions, OfABlockAreDroppedWithALineOfIt) {
  FakeEditor editor({{TypedLine::Kind::Text, "\"\"\"a"}, {TypedLine::Kind::Dropped, ""}, {TypedLine::Kind::Text, "b"}});
  Questions questions(editor, history_);
  EXPECT_EQ(questions.read(), "b");
  EXPECT_EQ(questions.read(), std::nullopt);
}

/// Has Ctrl-C come while the first line is read.
class InterruptedBuffer : public std::streambuf {
 public:
  LineEditor* editor = nullptr;

 private:
  int_type underflow() override {
    if (next_ == kLines.size()) return traits_type::eof();
    if (next_ == 1) editor->interrupt();
    line_ = kLines.at(next_++);
    setg(line_.data(), line_.data(), line_.data() + line_.size());
    return traits_type::to_int_type(line_.front());
  }

  static constexpr std::array kLines{"\"\"\"a\n", "b\n"};
  std::string line_;
  std::size_t next_ = 0;
};

TEST_F(TypedQuestions, BehindCtrlCAreKeptWhereTheSystemDropsTheLine) {
  InterruptedBuffer buffer;
  std::istream in(&buffer);
  PlainLineEditor editor(in, err_);
  buffer.editor = &editor;
  Questions questions(editor, history_);
  EXPECT_EQ(questions.read(), "b") << "and not within the block";
  EXPECT_EQ(err_.str(), "> . \n> ");
}

}  // namespace
