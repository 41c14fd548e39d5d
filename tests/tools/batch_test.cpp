/// \file
/// `quarv batch`: many files, of which some are bad in every way that a file can be.
#include <csignal>
#include <map>

#include <nlohmann/json.hpp>

#include "program_fixture.h"

namespace {

using Json = nlohmann::json;

/// `files` rows by name, and what differs between two runs taken out.
class Batch : public Program {
 protected:
  void write_in(const std::string& name, const std::string& text) const {
    fs::create_directories(path(name).parent_path());
    write(name, text);
  }

  Json rows(const std::string& text) const {
    Json rows = Json::object();
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(Json::parse(line)["results"], "quarv batch");
    while (std::getline(lines, line)) {
      Json row = Json::parse(line);
      row.erase("seconds");
      row.erase("peak_memory_bytes");
      rows[row["file"].get<std::string>()] = row;
    }
    return rows;
  }

  /// Results without times and memory.
  std::string lasting(const std::string& text) const {
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
      result += line.substr(0, line.find("\"seconds\":{\"")) + '\n';
    return result;
  }

  /// Every file of a folder, by name, with its contents.
  std::map<std::string, std::string> tree(const std::string& folder) const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(path(folder))) {
      if (entry.is_regular_file()) files[fs::relative(entry.path(), path(folder))] = contents(entry.path());
    }
    files["results.jsonl"] = lasting(files["results.jsonl"]);
    return files;
  }

  /// Scripts that take some milliseconds each.
  void write_scripts(const std::string& folder, int count) const {
    for (int i = 0; i < count; ++i) {
      std::string text = "(set-logic QF_BV)\n(declare-const a0 (_ BitVec 32))\n";
      for (int k = 0; k < 300; ++k) {
        const std::string n = std::to_string(k);
        const std::string next = std::to_string(k + 1);
        text += "(declare-const a" + next + " (_ BitVec 32))\n(assert (bvult (bvadd a" + n + " (bvmul a" +
                next + " #x0000000" + std::to_string(i % 10) + ")) (bvsub a" + next + " a" + n + ")))\n";
      }
      write_in(folder + "/" + std::to_string(i) + ".smt2", text);
    }
  }
};

TEST_F(Batch, SimplifiesFilesAndFolders) {
  write_in("in/a.smt2", redundant_script);
  write_in("in/deep/er/b.smt2", "(declare-const p Bool)\n(assert (not (not p)))\n(check-sat)\n");
  write_in("in/notes.txt", "no script");
  write_in("single", "(assert (or false false))\n");
  const Result r = run("$quarv batch -j 2 --out out in single");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "");
  EXPECT_NE(r.err.find("\n  ok                     3\n"), std::string::npos) << r.err;
  EXPECT_EQ(read("out/in/a.smt2"), simplified_script);
  EXPECT_EQ(read("out/in/deep/er/b.smt2"), simplified_script);
  EXPECT_EQ(read("out/single"), "(assert false)\n");
  EXPECT_EQ(tree("out").size(), 4u);
  const Json all = rows(read("out/results.jsonl"));
  EXPECT_EQ(all.size(), 3u);
  const Json& row = all["in/a.smt2"];
  EXPECT_EQ(row["status"], "ok");
  EXPECT_EQ(row["bytes"]["before"], redundant_script.size());
  EXPECT_EQ(row["bytes"]["after"], simplified_script.size());
  EXPECT_EQ(row["terms"]["before"], 3);
  EXPECT_EQ(row["terms"]["after"], 1);
  EXPECT_EQ(all["in/deep/er/b.smt2"]["simplifications"]["not"], 1);
  EXPECT_EQ(row["digest"], run("sha256sum in/a.smt2").out.substr(0, 64));
}

TEST_F(Batch, WritesResultsInOrderToStandardOutput) {
  write_scripts("in", 8);
  const Result r =
      run("$quarv batch -j 4 in | tee all | tail -n +2 | sed 's/.*\"file\":\"\\([^\"]*\\).*/\\1/' > names; "
          "LC_ALL=C sort -c names && wc -l < names");
  EXPECT_EQ(r.out, "8\n") << r.err;
  EXPECT_EQ(run("$quarv batch in --results all2 && $quarv batch in -j 3").status, 0);
  EXPECT_EQ(lasting(read("all")), lasting(read("all2")));
  EXPECT_EQ(run("$quarv batch in > /dev/full").status, 1);
}

TEST_F(Batch, ReadsCompressedFilesAndArchives) {
  write_in("in/a.smt2", redundant_script);
  write_in("in/b.smt2", redundant_script + "(exit)\n");
  write_in("in/empty.smt2", "");
  write_in("c.smt2", redundant_script);
  const Result packed =
      run("xz -k c.smt2; mkdir packed; gzip < c.smt2 > packed/g.smt2.gz; mv c.smt2.xz packed; zstd -q c.smt2 "
          "-o packed/z.zst;"
          "gzip < in/empty.smt2 > packed/e.smt2.gz; cp packed/g.smt2.gz in; "
          "tar cf t.tar in; tar cJf t.txz in; tar c in | zstd -q > t.tar.zst; rm in/*");
  ASSERT_EQ(packed.status, 0) << packed.err;
  const Result r = run("$quarv batch -j 2 --out out packed t.tar t.txz t.tar.zst");
  EXPECT_EQ(r.status, 0) << r.err;
  for (const char* name : {"packed/g.smt2", "packed/c.smt2", "packed/z", "t.tar/in/a.smt2", "t.txz/in/a.smt2",
                           "t.tar.zst/in/a.smt2", "t.tar/in/g.smt2"}) {
    EXPECT_EQ(read("out/" + std::string(name)), simplified_script) << name;
  }
  EXPECT_EQ(read("out/t.txz/in/b.smt2"), simplified_script + "(exit)\n");
  EXPECT_EQ(read("out/packed/e.smt2"), "");
  EXPECT_TRUE(rows(read("out/results.jsonl")).contains("t.tar.zst/in/g.smt2.gz"));

  for (const char* how : {"gz gzip", "xz xz", "zst zstd"}) {
    const std::string ending(how, std::string_view(how).find(' '));
    const std::string tool = std::string(how).substr(ending.size() + 1);
    EXPECT_EQ(run("$quarv batch --out out." + ending + " --compress " + ending + " t.tar").status, 0);
    EXPECT_EQ(run(tool + " -dc out." + ending + "/t.tar/in/a.smt2." + ending).out, simplified_script);
    const std::string once = read("out." + ending + "/t.tar/in/b.smt2." + ending);
    run("sleep 1.1; $quarv batch --out out." + ending + " --compress " + ending + " t.tar");
    EXPECT_EQ(read("out." + ending + "/t.tar/in/b.smt2." + ending), once);  // no time is in it
  }
}

TEST_F(Batch, GoesOnAfterBadFiles) {
  write_in("in/good.smt2", redundant_script);
  write_in("in/bad.smt2", "(assert x)\n");
  write_in("in/damaged.smt2.gz", "this is not compressed");
  write_in("in/damaged.tar.zst", "this is no archive");
  run("gzip < in/good.smt2 | head -c 30 > in/cut.gz; mkdir x; cp in/good.smt2 x/1.smt2; "
      "head -c 100000 /dev/urandom | base64 > x/2.smt2; tar cz x | head -c 60000 > in/cut.tar.gz");
  const Result r = run("$quarv batch -j 2 --out out in nowhere.smt2");
  EXPECT_EQ(r.status, 1);
  const Json all = rows(read("out/results.jsonl"));
  EXPECT_EQ(all["in/good.smt2"]["status"], "ok");
  EXPECT_EQ(all["in/bad.smt2"]["status"], "rejected");
  EXPECT_EQ(all["in/bad.smt2"]["message"], "in/bad.smt2:1:9: error: unknown symbol x");
  EXPECT_EQ(all["nowhere.smt2"]["message"], "cannot read nowhere.smt2: No such file or directory");
  for (const char* name :
       {"in/damaged.smt2.gz", "in/damaged.tar.zst", "in/cut.gz", "in/cut.tar.gz", "nowhere.smt2"}) {
    EXPECT_EQ(all[name]["status"], "unreadable") << name;
    EXPECT_NE(all[name]["message"].get<std::string>().find("cannot read"), std::string::npos);
  }
  EXPECT_EQ(all["in/cut.tar.gz/x/1.smt2"]["status"], "ok") << r.err;
  EXPECT_NE(r.err.find("rejected: in/bad.smt2:1:9: error: unknown symbol x\n"), std::string::npos) << r.err;
  EXPECT_FALSE(fs::exists(path("out/in/bad.smt2")));
}

TEST_F(Batch, SaysWhenOutputCannotBeWritten) {
  write_in("in/a.smt2", redundant_script);
  write_in("in/b.smt2", redundant_script);
  run("mkdir -p out/in/a.smt2");
  const Result r = run("$quarv batch --out out in");
  EXPECT_EQ(r.status, 1);
  const Json all = rows(read("out/results.jsonl"));
  EXPECT_EQ(all["in/a.smt2"]["status"], "unwritable");
  EXPECT_EQ(all["in/a.smt2"]["message"], "cannot write out/in/a.smt2: Is a directory");
  EXPECT_EQ(all["in/b.smt2"]["status"], "ok");
}

// A pipe that nobody writes to hangs whoever reads it.
TEST_F(Batch, EndsFilesThatHang) {
  write_in("in/a.smt2", redundant_script);
  write_in("in/z.smt2", redundant_script);
  const Result r = run("mkfifo hang.smt2; $quarv batch -j 1 --time 0.3 --out out hang.smt2 in");
  EXPECT_EQ(r.status, 1);
  Json all = rows(read("out/results.jsonl"));
  EXPECT_EQ(all["hang.smt2"]["status"], "timeout");
  EXPECT_EQ(all["hang.smt2"]["message"], "not done after 0.3 s");
  EXPECT_EQ(all["in/a.smt2"]["status"], "ok");
  EXPECT_EQ(all["in/z.smt2"]["status"], "ok");
  // Under the same limit it is not tried again, under another one it is.
  run("rm hang.smt2; cp in/a.smt2 hang.smt2; $quarv batch --time 200 --resume --out out hang.smt2 in");
  all = rows(read("out/results.jsonl"));
  EXPECT_EQ(all["hang.smt2"]["status"], "ok");
}

TEST_F(Batch, OutlivesCrashes) {
  write_in("in/a.smt2", redundant_script);
  write_in("in/z.smt2", redundant_script);
  const Result r =
      run("mkfifo crash.smt2\n$quarv batch -j 2 --out out crash.smt2 in 2> err &\n"
          "until grep -q 'z.smt2.*ok' out/results.jsonl 2> /dev/null; do sleep 0.05; done\n"
          "kill -SEGV $(cat /proc/$!/task/$!/children)\nwait $!");
  EXPECT_EQ(r.status, 1) << r.err;
  const Json all = rows(read("out/results.jsonl"));
  EXPECT_EQ(all["crash.smt2"]["status"], "crash");
  EXPECT_NE(all["crash.smt2"]["message"].get<std::string>().find("ended "), std::string::npos);
  EXPECT_EQ(all["in/a.smt2"]["status"], "ok");
  EXPECT_EQ(all["in/z.smt2"]["status"], "ok");
  EXPECT_EQ(read("out/in/z.smt2"), simplified_script);
}

#ifndef __SANITIZE_ADDRESS__  // which needs more address space than any limit leaves
TEST_F(Batch, EndsFilesThatNeedTooMuchMemory) {
  write_in("in/a.smt2", redundant_script);
  write_in("in/big.smt2", "(declare-const p Bool)\n(assert (and p" + std::string(80 << 20, ' ') + "p))\n");
  run("gzip -1 < in/big.smt2 > in/bomb.smt2.gz");
  const Result r = run("$quarv batch -j 2 --memory 70MiB --out out in");
  EXPECT_EQ(r.status, 1);
  const Json all = rows(read("out/results.jsonl"));
  for (const char* name : {"in/big.smt2", "in/bomb.smt2.gz"}) {
    EXPECT_EQ(all[name]["status"], "memory") << r.err;
    EXPECT_EQ(all[name]["message"], "more than 70 MiB needed");
  }
  EXPECT_EQ(all["in/a.smt2"]["status"], "ok");
  EXPECT_EQ(run("$quarv batch -j 2 --memory 1GiB --resume --out out in").status, 0);
}
#endif

TEST_F(Batch, ResumesAfterItWasKilled) {
  write_scripts("in", 60);
  write_in("in/bad.smt2", "(assert x)");
  EXPECT_EQ(run("$quarv batch -j 2 --out whole in").status, 1);
  const Result killed = run(
      "$quarv batch -j 2 --out out in &\n"
      "until [ $(grep -c '\"ok\"' out/results.jsonl 2> /dev/null || echo 0) -ge 20 ]; do sleep 0.01; done\n"
      "kill -KILL $!; wait $!");
  EXPECT_EQ(killed.status, 128 + SIGKILL);
  for (const auto& [name, text] : tree("out")) {
    if (!fs::path(name).filename().string().starts_with(".") && name != "results.jsonl") {
      EXPECT_EQ(text, tree("whole")[name]) << name;  // what is there is complete
    }
  }
  const std::string before = read("out/results.jsonl");
  EXPECT_EQ(run("$quarv batch -j 2 --resume --out out in").status, 1);
  EXPECT_EQ(tree("out"), tree("whole"));
  // What had been done was not done again: it took the same time.
  std::istringstream lines(before);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("\"ok\"") != std::string::npos) {
      EXPECT_NE(read("out/results.jsonl").find(line + '\n'), std::string::npos) << line;
    }
  }
}

TEST_F(Batch, ResumesWhatHasChanged) {
  write_in("in/a.smt2", redundant_script);
  write_in("in/b.smt2", redundant_script);
  run("$quarv batch --out out in");
  write_in("in/a.smt2", "(assert (not false))\n");
  run("rm out/in/b.smt2");
  EXPECT_EQ(run("$quarv batch --resume --out out in").status, 0);
  EXPECT_EQ(read("out/in/a.smt2"), "(assert true)\n");
  EXPECT_EQ(read("out/in/b.smt2"), simplified_script);
  // Other options give other results.
  run("$quarv batch --resume --no-rules --out out in; $quarv batch --no-rules --out other in");
  EXPECT_EQ(tree("out"), tree("other"));
  // What remains of a row that was cut off is done again.
  run("truncate -s -20 out/results.jsonl; $quarv batch --resume --no-rules --out out in");
  EXPECT_EQ(tree("out"), tree("other"));
  // Inputs that are gone are gone from the results.
  run("rm in/b.smt2; $quarv batch --resume --no-rules --out out in");
  EXPECT_EQ(rows(read("out/results.jsonl")).size(), 1u);
  write("out/results.jsonl", "something else\n");
  EXPECT_EQ(run("$quarv batch --resume --out out in").err,
            "quarv: error: out/results.jsonl:1: these are not results of quarv batch\n");
}

TEST_F(Batch, ResumesAndMergesWhereCommandsPassedThrough) {
  write_in("in/a.smt2", "(declare-const s String)\n(assert (= s s))\n");
  const std::string batch = "$quarv batch --lenient --out out in";
  EXPECT_EQ(run(batch).status, 0);
  EXPECT_NE(read("out/results.jsonl").find("\"passed_through\":2"), std::string::npos);
  const std::string before = read("out/results.jsonl");
  const Result resumed = run(batch + " --resume");
  EXPECT_EQ(resumed.status, 0) << resumed.err;
  EXPECT_EQ(read("out/results.jsonl"), before);
  const Result merged = run("$quarv batch --merge out/results.jsonl --results all");
  EXPECT_EQ(merged.status, 0) << merged.err;
  EXPECT_EQ(run("$quarv report all -o page.html").status, 0);
}

TEST_F(Batch, RefusesEqualOutputsOnlyWhereThereAreAny) {
  write_in("in/a.smt2", redundant_script);
  run("gzip -k in/a.smt2");
  const Result r = run("$quarv batch in");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(rows(r.out).size(), 2u);
}

TEST_F(Batch, IsInterruptedInGoodOrder) {
  write_in("in/a.smt2", redundant_script);
  const Result r =
      run("mkfifo hang.smt2\n$quarv batch -j 2 --out out hang.smt2 in 2> err &\n"
          "until grep -q 'a.smt2.*ok' out/results.jsonl 2> /dev/null; do sleep 0.05; done\n"
          "child=$(cat /proc/$!/task/$!/children)\nkill -TERM $!; wait $!; status=$?; kill -0 $child 2> "
          "/dev/null && echo left\n"
          "exit $status");
  EXPECT_EQ(r.status, 128 + SIGTERM);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(read("err"), "quarv: interrupted: 1 of 2 done; --resume does the rest\n");
}

TEST_F(Batch, SharesAreStableAndJoin) {
  write_scripts("in", 12);
  write_in("in/bad.smt2", "(assert x)");
  run("mkdir sub; mv in sub; cd sub; $quarv batch --out ../whole in");
  for (const char* share : {"1/3", "2/3", "3/3"}) {
    const std::string n(1, share[0]);
    run("cd sub; $quarv batch --shard " + std::string(share) + " --out ../part --results ../results." + n +
        " in");
  }
  const Result merged =
      run("$quarv batch --merge results.2 results.1 results.3 --results part/results.jsonl");
  EXPECT_EQ(merged.status, 1);
  EXPECT_EQ(merged.err.find("missing"), std::string::npos) << merged.err;
  EXPECT_EQ(tree("part"), tree("whole"));

  const Result missing = run("$quarv batch --merge results.1 results.3");
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("missing: no results of share 2/3\n"), std::string::npos) << missing.err;
  EXPECT_NE(missing.err.find(" of 13 inputs are not known\n"), std::string::npos) << missing.err;
  run("sed -i 's/.*\"in.1.smt2.*/{\"file\":\"in\\/1.smt2\",\"status\":\"pending\"}/' results.*");
  EXPECT_NE(run("$quarv batch --merge results.*").err.find("missing: in/1.smt2 has not been done\n"),
            std::string::npos);
  run("sed -i 1s/true/false/ results.2");
  EXPECT_EQ(run("$quarv batch --merge results.*").err,
            "quarv: error: results.2 is of other options than results.1\n");
}

TEST_F(Batch, NamesInputsThatBecameTheSameFormula) {
  write_in("in/a.smt2", redundant_script);
  write_in("in/b.smt2",
           "(set-logic QF_UF)\n(declare-fun |q r| () Bool)\n(declare-const s Bool)\n"
           "(assert (not (not |q r|)))\n(assert (or s true))\n(check-sat)\n");
  write_in("in/c.smt2", "(declare-const p Int)\n(declare-const q Bool)\n(assert (not q))\n(check-sat)\n");
  write_in("in/d.smt2", "(declare-sort S 0)(declare-fun f (S) Bool)(declare-const a S)(assert (f a))");
  write_in("in/e.smt2", "(declare-sort T 0)(declare-const f T)(declare-fun a (T) Bool)(assert (a f))");
  write_in("in/f.smt2", "(declare-sort T 0)(declare-fun a (T) Bool)(declare-const f T)(assert (a f))");
  write_in("in/g.smt2", "(declare-fun f (Int) Bool)(declare-const a Int)(assert (f a))");
  const Result r = run("$quarv batch --dedupe in --results all");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err.find(
                "the same formula:\n  in/a.smt2\n  in/b.smt2\nthe same formula:\n  in/d.smt2\n  in/e.smt2\n  "
                "in/f.smt2\nfiles"),
            0u)
      << r.err;
  EXPECT_EQ(run("$quarv batch --merge --dedupe all --results all2").err, r.err);
}

TEST_F(Batch, RefusesWrongCommandLines) {
  write_in("in/a.smt2", redundant_script);
  run("gzip -k in/a.smt2");
  for (const char* arguments : {"",
                                "in --shard 3/2",
                                "in --shard 0/2",
                                "in --shard x",
                                "in --shard 1/2x",
                                "in --resume",
                                "in --compress gz",
                                "in --out o --compress rar",
                                "in --disable-rule 9999",
                                "in -j 0",
                                "in --out o",
                                "in/a.smt2 --out .",
                                "--merge in --resume --out o",
                                "in -j -4294967295",
                                "in --memory -1",
                                "in --memory -3KiB",
                                "in --memory=-18446744073709551615",
                                "in --time -1",
                                "in --time nan",
                                "in --time 1e400",
                                "in --time 1x"}) {
    const Result r = run("$quarv batch " + std::string(arguments));
    EXPECT_EQ(r.status, 2) << arguments;
    EXPECT_EQ(num_lines(r.err), 1u) << r.err;
    EXPECT_LT(r.err.size(), 150u) << r.err;
  }
  EXPECT_EQ(run("$quarv batch in --out o").err,
            "quarv: in/a.smt2 and in/a.smt2.gz would have the same output\n");
  EXPECT_EQ(run("$quarv batch in/a.smt2 --out .").err,
            "quarv: in/a.smt2 would be replaced by its own output\n");
}

TEST_F(Batch, LeavesItsOwnOutputAlone) {
  write_in("a.smt2", redundant_script);
  EXPECT_EQ(run("$quarv batch --out out . && $quarv batch --out out --resume .").status, 0);
  EXPECT_EQ(rows(read("out/results.jsonl")).size(), 1u);
  EXPECT_EQ(run("cd out; $quarv batch ../a.smt2 /proc/self/cwd/../a.smt2 --out .").status, 0);
  EXPECT_EQ(read("out/proc/self/a.smt2") + read("out/a.smt2"), simplified_script + simplified_script);
}

TEST_F(Batch, IsAloneWithItsResults) {
  const Result r =
      run("mkfifo hang.smt2\n$quarv batch --out out hang.smt2 2> /dev/null &\n"
          "until [ -e out/results.jsonl ]; do sleep 0.05; done; sleep 0.1\n"
          "$quarv batch --out out hang.smt2; status=$?; kill $!; exit $status");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "quarv: error: cannot write out/results.jsonl: another batch is writing to it\n");
}

}  // namespace
