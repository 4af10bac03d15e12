/* Launches a program and prints, on one line, the seconds from launch until
 * its first top-level window shows its first pixels, and the resident memory
 * in KiB of the program and its descendants a given number of seconds later.
 * Usage: firstpaint SETTLE_SECONDS PROGRAM [ARGS...]
 *
 * "Shows its first pixels" is the first DAMAGE report on a mapped top-level
 * window: a map alone does not mean the window has been drawn. */
#define _GNU_SOURCE
#include <X11/Xlib.h>
#include <X11/extensions/Xdamage.h>

#include <dirent.h>
#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/select.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#define MAX_WINDOWS 256
#define LAUNCH_TIMEOUT_S 30.0

static double now(void)
{
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec + ts.tv_nsec / 1e9;
}

static long parentOf(long pid)
{
    char path[64], buf[512];
    snprintf(path, sizeof path, "/proc/%ld/stat", pid);
    FILE *f = fopen(path, "r");
    if (!f)
        return -1;
    size_t n = fread(buf, 1, sizeof buf - 1, f);
    fclose(f);
    buf[n] = 0;
    /* The command name may hold blanks and parentheses: the fields follow the last ')'. */
    char *p = strrchr(buf, ')');
    long ppid = -1;
    if (!p || sscanf(p + 1, " %*c %ld", &ppid) != 1)
        return -1;
    return ppid;
}

static long rssKb(long pid)
{
    char path[64], line[256];
    snprintf(path, sizeof path, "/proc/%ld/status", pid);
    FILE *f = fopen(path, "r");
    if (!f)
        return 0;
    long kb = 0;
    while (fgets(line, sizeof line, f))
        if (sscanf(line, "VmRSS: %ld", &kb) == 1)
            break;
    fclose(f);
    return kb;
}

static int isDescendant(long pid, long root)
{
    for (int depth = 0; pid > 1 && depth < 64; ++depth) {
        if (pid == root)
            return 1;
        pid = parentOf(pid);
    }
    return 0;
}

static long treeRssKb(long root)
{
    long total = 0;
    DIR *proc = opendir("/proc");
    if (!proc)
        return 0;
    struct dirent *entry;
    while ((entry = readdir(proc))) {
        char *end;
        long pid = strtol(entry->d_name, &end, 10);
        if (*end || pid <= 0)
            continue;
        if (isDescendant(pid, root))
            total += rssKb(pid);
    }
    closedir(proc);
    return total;
}

int main(int argc, char **argv)
{
    if (argc < 3) {
        fprintf(stderr, "usage: %s SETTLE_SECONDS PROGRAM [ARGS...]\n", argv[0]);
        return 2;
    }
    const double settle = atof(argv[1]);
    Display *dpy = XOpenDisplay(NULL);
    if (!dpy) {
        fprintf(stderr, "firstpaint: cannot open the display\n");
        return 1;
    }
    int damageEvent, damageError;
    if (!XDamageQueryExtension(dpy, &damageEvent, &damageError)) {
        fprintf(stderr, "firstpaint: the display has no DAMAGE extension\n");
        return 1;
    }
    Window root = DefaultRootWindow(dpy);
    XSelectInput(dpy, root, SubstructureNotifyMask);
    XSync(dpy, False);

    const double start = now();
    pid_t child = fork();
    if (child < 0) {
        perror("fork");
        return 1;
    }
    if (child == 0) {
        close(ConnectionNumber(dpy));
        execvp(argv[2], argv + 2);
        perror(argv[2]);
        _exit(127);
    }

    /* Damage is asked for at creation, before the program can draw anything. */
    Window windows[MAX_WINDOWS];
    int mapped[MAX_WINDOWS];
    int count = 0;
    double shown = -1;
    const int fd = ConnectionNumber(dpy);
    while (shown < 0) {
        while (XPending(dpy) && shown < 0) {
            XEvent ev;
            XNextEvent(dpy, &ev);
            if (ev.type == CreateNotify && ev.xcreatewindow.parent == root && count < MAX_WINDOWS) {
                windows[count] = ev.xcreatewindow.window;
                mapped[count] = 0;
                XDamageCreate(dpy, ev.xcreatewindow.window, XDamageReportNonEmpty);
                ++count;
            } else if (ev.type == MapNotify && ev.xmap.event == root && !ev.xmap.override_redirect) {
                for (int i = 0; i < count; ++i)
                    if (windows[i] == ev.xmap.window)
                        mapped[i] = 1;
            } else if (ev.type == damageEvent + XDamageNotify) {
                const XDamageNotifyEvent *de = (const XDamageNotifyEvent *)&ev;
                for (int i = 0; i < count; ++i)
                    if (windows[i] == de->drawable && mapped[i])
                        shown = now() - start;
            }
        }
        if (shown >= 0)
            break;
        int status;
        if (waitpid(child, &status, WNOHANG) == child) {
            fprintf(stderr, "firstpaint: %s ended before it showed a window\n", argv[2]);
            return 1;
        }
        const double left = LAUNCH_TIMEOUT_S - (now() - start);
        if (left <= 0) {
            fprintf(stderr, "firstpaint: no window of %s within %.0f s\n", argv[2], LAUNCH_TIMEOUT_S);
            kill(child, SIGKILL);
            return 1;
        }
        fd_set fds;
        FD_ZERO(&fds);
        FD_SET(fd, &fds);
        struct timeval tv = {0, 50000};
        select(fd + 1, &fds, NULL, NULL, &tv);
    }

    struct timespec pause = {(time_t)settle, (long)((settle - (time_t)settle) * 1e9)};
    while (nanosleep(&pause, &pause) < 0 && errno == EINTR) {
    }
    const long kb = treeRssKb(child);
    printf("%.4f %ld\n", shown, kb);
    fflush(stdout);

    kill(child, SIGTERM);
    for (int i = 0; i < 100; ++i) {
        if (waitpid(child, NULL, WNOHANG) == child)
            return 0;
        usleep(20000);
    }
    kill(child, SIGKILL);
    waitpid(child, NULL, 0);
    return 0;
}
