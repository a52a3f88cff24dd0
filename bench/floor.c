/* What no program of this kind can do without: floor FILE COPY [DIRECTORY...] reads FILE, writes its bytes to COPY, and
   writes them over FILE. The directories, from the outermost, are made if they are missing. When there are any, they and
   both files are synchronised. */

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

static int write_file(const char *path, const char *bytes, size_t size, int synchronise) {
    int file = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (file < 0)
        return 0;
    while (size > 0) {
        ssize_t written = write(file, bytes, size);
        if (written < 0)
            return 0;
        bytes += written;
        size -= (size_t)written;
    }
    return (!synchronise || fsync(file) == 0) && close(file) == 0;
}

static char *read_file(const char *path, size_t *size) {
    struct stat status;
    int file = open(path, O_RDONLY);
    if (file < 0 || fstat(file, &status) != 0)
        return NULL;
    *size = (size_t)status.st_size;
    char *bytes = malloc(*size + 1);
    for (size_t done = 0; bytes != NULL && done < *size;) {
        ssize_t count = read(file, bytes + done, *size - done);
        if (count <= 0)
            return NULL;
        done += (size_t)count;
    }
    close(file);
    return bytes;
}

static int make_directories(char **paths) {
    for (; *paths != NULL; ++paths) {
        if (mkdir(*paths, 0700) != 0 && errno != EEXIST)
            return 0;
    }
    return 1;
}

static int synchronise_directories(char **paths) {
    for (; *paths != NULL; ++paths) {
        int directory = open(*paths, O_RDONLY | O_DIRECTORY);
        if (directory < 0 || fsync(directory) != 0 || close(directory) != 0)
            return 0;
    }
    return 1;
}

int main(int argc, char **argv) {
    size_t size = 0;
    int synchronise = argc > 3;
    char *bytes = argc >= 3 ? read_file(argv[1], &size) : NULL;
    return bytes != NULL && make_directories(argv + 3) && write_file(argv[2], bytes, size, synchronise) &&
                   synchronise_directories(argv + 3) && write_file(argv[1], bytes, size, synchronise)
               ? 0
               : 1;
}
