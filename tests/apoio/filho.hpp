// A part of a test that runs in a process of its own.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

namespace apoio {

/// Runs the function in a child of this process; true when it gives true within twenty seconds.
template <typename FUNCAO>
bool noFilho(FUNCAO funcao) {
    const pid_t pid = fork();
    if (pid == 0) {
        alarm(20);
        _exit(funcao() ? 0 : 1);
    }
    int estado = -1;
    return pid > 0 && waitpid(pid, &estado, 0) == pid && estado == 0;
}

} // namespace apoio
