// A host that forks after the library has left it: nothing of the library may be called then.

#include <sys/wait.h>

#include "tests/rough/LogHost.h"

int main() {
  for (int i = 0; i < 100; ++i) {
    {
      const rough::Library library;
      library.log("the log is there");
    }
    rough::check(dlopen(VEKSSD_LIBRARY, RTLD_NOW | RTLD_NOLOAD) == nullptr, "it has left");
    const pid_t child = fork();
    if (child == 0) {
      _exit(EXIT_SUCCESS);
    }
    int status = 0;
    waitpid(child, &status, 0);
    rough::check(status == 0, "the child lives");
  }
  return EXIT_SUCCESS;
}
