/// \file
/// Edge cases of every simplifier as a user of the dialogue meets them. Each file of the folder sessions is a
/// dialogue: its first line is the command line, the line after each question, "; => ", the answer.
#include <sstream>
#include <vector>

#include "program_fixture.h"

namespace {

struct Question {
  std::size_t line;
  std::string text;
  std::string answer;
};

std::vector<Question> questions(const std::string& session) {
  const std::string mark = "; => ";
  std::vector<Question> result;
  std::istringstream lines(session);
  std::string previous;
  std::size_t number = 0;
  for (std::string line; std::getline(lines, line); previous = line) {
    ++number;
    if (line.starts_with(mark)) result.push_back({number - 1, previous, line.substr(mark.size())});
  }
  return result;
}

TEST_F(Program, AnswersAsTheSessionsSay) {
  std::size_t num_sessions = 0;
  for (const fs::directory_entry& file :
       fs::directory_iterator(fs::path(QUARV_SOURCE_DIR) / "tests" / "tools" / "sessions")) {
    const std::string session = contents(file.path());
    const std::string name = file.path().filename().string();
    ASSERT_TRUE(session.starts_with("; quarv repl")) << name;
    const std::string options = session.substr(12, session.find('\n') - 12);
    std::istringstream answers(run("$quarv repl" + options, session).out);
    std::string answer;
    for (const Question& q : questions(session)) {
      ASSERT_TRUE(std::getline(answers, answer)) << name << ':' << q.line;
      EXPECT_EQ(answer, q.answer) << name << ':' << q.line << ": " << q.text;
    }
    EXPECT_FALSE(std::getline(answers, answer)) << name << ": " << answer;
    ++num_sessions;
  }
  EXPECT_GE(num_sessions, 14u);
}

}  // namespace
