// A process with a given name and two threads, until its standard input closes: so it ends with its test, however that
// ends.
#include <thread>

#include <sys/prctl.h>
#include <unistd.h>

int main(int, char** arguments)
{
    prctl(PR_SET_NAME, arguments[1], 0, 0, 0);
    char byte = '\n';
    std::thread second([] { pause(); });
    second.detach();
    if (write(STDOUT_FILENO, &byte, 1) != 1)
    {
        return 1;
    }
    while (read(STDIN_FILENO, &byte, 1) > 0)
    {
    }
    _exit(0);
}
