// Test helpers: capture what the library writes to standard error, and run code in a child
// process to observe paths that end the process.
#pragma once
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

namespace zvx_test {

// Runs `fn` with fd 2 redirected to a temporary file and returns every byte written to it.
inline std::string capture_stderr(const std::function<void()>& fn) {
  fflush(stderr);
  FILE* tmp = tmpfile();
  const int saved = dup(2);
  dup2(fileno(tmp), 2);
  fn();
  fflush(stderr);
  dup2(saved, 2);
  close(saved);
  std::string out;
  rewind(tmp);
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, tmp)) > 0) out.append(buf, n);
  fclose(tmp);
  return out;
}

struct child_result {
  int exit_code;       // -1 when the child was killed by a signal
  int signal;          // the signal, or 0
  std::string stderr_text;
};

// Runs `fn` in a forked child with its stderr captured; the child exits 0 if `fn` returns.
inline child_result run_in_child(const std::function<void()>& fn) {
  fflush(stdout);
  fflush(stderr);
  int fds[2];
  if (pipe(fds) != 0) abort();
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    dup2(fds[1], 2);
    fn();
    fflush(stderr);
    _exit(0);
  }
  close(fds[1]);
  std::string out;
  char buf[4096];
  ssize_t n;
  while ((n = read(fds[0], buf, sizeof buf)) > 0) out.append(buf, static_cast<size_t>(n));
  close(fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  child_result r{-1, 0, out};
  if (WIFEXITED(status)) r.exit_code = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) r.signal = WTERMSIG(status);
  return r;
}

}  // namespace zvx_test
