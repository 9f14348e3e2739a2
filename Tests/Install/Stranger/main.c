#include <stdio.h>
#include <velmorant.h>

static int last(void *context, const uint8_t *rows, size_t stride, int64_t row, int64_t count) {
    (void)rows, (void)stride;
    *(int64_t *)context = row + count;
    return 0;
}

int main(int count, char **files) {
    velmorant_run *run = velmorant_run_new();
    int64_t width = 0, height = 0, drawn = 0;
    for (int k = 1; k < count; ++k)
        if (velmorant_run_add_file(run, files[k]))
            return puts(velmorant_run_error(run)), 1;
    if (velmorant_run_align(run, NULL, NULL) || velmorant_run_size(run, &width, &height) ||
        velmorant_run_render(run, VELMORANT_RGB8, last, &drawn))
        return puts(velmorant_run_error(run)), 1;
    printf("%s: %d x %d\n", velmorant_version(), (int)width, (int)height);
    velmorant_run_free(run);
    return drawn == height ? 0 : 1;
}
