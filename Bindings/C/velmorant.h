#ifndef VELMORANT_H
#define VELMORANT_H

/** \file
 * Velmorant for other languages: joins overlapping screenshots of one scrolled page into one tall picture.
 *
 *     velmorant_run *run = velmorant_run_new();
 *     velmorant_run_add_file(run, "1.png");
 *     velmorant_run_add_file(run, "2.png");
 *     if (velmorant_run_align(run, NULL, NULL) || velmorant_run_write(run, "joined.png", 92, NULL, NULL))
 *         fprintf(stderr, "%s\n", velmorant_run_error(run));
 *     velmorant_run_free(run);
 *
 * Sizes, rows and columns are in pixels; row 0 is the top edge, rows grow downwards. Texts are UTF-8, in English, and
 * owned by the run: valid until its next call. Screenshots are numbered from 0 in the order in which they were added.
 *
 * A run is used by one thread at a time, except for velmorant_run_cancel. Calls block; the library works on threads of
 * its own meanwhile, and calls back on the calling thread alone. Several runs may be used at the same time. No call
 * ends the process or writes to its standard streams.
 *
 * What is declared here stays as it is, structs and numbers included, until the major version changes; a minor version
 * only adds. docs/compatibility.md tells more.
 */

#include "Velmorant/Version.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** What a call answers. velmorant_run_error tells the rest in words. */
typedef enum velmorant_status {
    VELMORANT_OK = 0,
    VELMORANT_WRONG_CALL = 1,  /**< an argument, or the order of calls, makes no sense; nothing was done */
    VELMORANT_BAD_FILE = 2,    /**< a file is missing, may not be read, is damaged, or is no image of a known format */
    VELMORANT_NO_MATCH = 3,    /**< no two neighbours show the same rows for certain; velmorant_run_seam tells why */
    VELMORANT_NOT_WRITTEN = 4, /**< the picture could not be written, or its format cannot hold it; no file is left */
    VELMORANT_NO_MEMORY = 5,
    VELMORANT_CANCELLED = 6, /**< by velmorant_run_cancel, or by a callback that did not answer 0 */
    VELMORANT_FAILED = 7     /**< anything else */
} velmorant_status;

/** How the bytes of a pixel lie. */
typedef enum velmorant_pixels {
    VELMORANT_GRAY8 = 1,
    VELMORANT_RGB8 = 3,
    VELMORANT_RGBA8 = 4 /**< alpha last, colours not multiplied by it */
} velmorant_pixels;

/** Screenshots that belong together, and what was found of them. */
typedef struct velmorant_run velmorant_run;

/** Where a screenshot lies in the picture. */
typedef struct velmorant_position {
    size_t screenshot;
    int64_t top;        /**< the picture's row at which its top edge lies */
    int64_t fade_start; /**< its own rows over which it fades in over the one above, from this one; topmost: 0 */
    int64_t fade_end;   /**< … to the one before this; topmost: 1 */
} velmorant_position;

/** What was found of two screenshots that follow each other, whether they match or not. */
typedef struct velmorant_seam {
    int valid;           /**< 1: they belong together at exactly this offset */
    int64_t offset;      /**< rows from the first's top to the second's; negative: that lies above; 0 unless valid */
    double confidence;   /**< 0 to 1; 0 unless valid */
    const char* verdict; /**< a word for programs: matched, byNeighbours, sameView, unpinnedView, nothingCommon, contradicted,
                            open, repeated, crept, otherWidth or unreadable; others may come */
    const char* reason;  /**< a sentence for people */
} velmorant_seam;

/** Hears how far a call has come: `done` of `total` steps. Called several times a second, the same number twice
   at times. Answers 0 to go on, anything else to cancel; must not throw. */
typedef int (*velmorant_progress)(void* context, int64_t done, int64_t total);

/** Takes the next `count` rows of the picture, the first being row `row`, `stride` bytes apart. Answers 0 to go on,
   anything else to cancel. The memory is the library's and valid during the call only. */
typedef int (*velmorant_band)(void* context, const uint8_t* rows, size_t stride, int64_t row, int64_t count);

/** The version of the library in use, as in "0.1.0"; VELMORANT_VERSION is the one that the program was built with. */
const char* velmorant_version(void);

/** NULL where there is no memory. */
velmorant_run* velmorant_run_new(void);
/** Not while another thread uses it. NULL is fine. */
void velmorant_run_free(velmorant_run* run);

/** What the last call that failed says, naming the file and the remedy; empty where none has. */
const char* velmorant_run_error(const velmorant_run* run);

/** The next screenshot: an image file of a format that the library reads, told by its content. Its header is read now,
   its pixels when they are needed, so it has to stay. After an alignment a screenshot may be added and the run aligned
   anew. */
velmorant_status velmorant_run_add_file(velmorant_run* run, const char* path);
/** The next screenshot: pixels in sRGB, rows `stride` bytes apart. They are copied. */
velmorant_status velmorant_run_add_pixels(velmorant_run* run, velmorant_pixels kind, const uint8_t* pixels,
                                          size_t stride, int64_t width, int64_t height);
size_t velmorant_run_count(const velmorant_run* run);

/** Finds where the screenshots overlap and places the longest row of them that match. The steps of its progress are
   screenshots read. With a file that cannot be read: VELMORANT_BAD_FILE. `progress` may be NULL. */
velmorant_status velmorant_run_align(velmorant_run* run, velmorant_progress progress, void* context);

/** After velmorant_run_align, whether it answered VELMORANT_OK or VELMORANT_NO_MATCH: what was found of screenshots
   `index` and `index` + 1. */
velmorant_status velmorant_run_seam(velmorant_run* run, size_t index, velmorant_seam* seam);

/* The rest needs a velmorant_run_align that answered VELMORANT_OK. */

/** The picture's size. */
velmorant_status velmorant_run_size(velmorant_run* run, int64_t* width, int64_t* height);
/** How many screenshots have their place in it; the others were left out. 0 before the alignment. */
size_t velmorant_run_placed(const velmorant_run* run);
/** The positions from the top down; `index` below velmorant_run_placed. */
velmorant_status velmorant_run_position(velmorant_run* run, size_t index, velmorant_position* position);
/** Whether every pixel is opaque, and the ICC profile of the values: NULL and 0 for sRGB. Each pointer may be NULL. */
velmorant_status velmorant_run_format(velmorant_run* run, int* opaque, const uint8_t** profile, size_t* profile_size);

/** Draws the picture band by band, from the top down, in memory that does not grow with its height. `kind` is
   VELMORANT_RGB8, for opaque pictures alone, or VELMORANT_RGBA8. */
velmorant_status velmorant_run_render(velmorant_run* run, velmorant_pixels kind, velmorant_band band, void* context);
/** Writes the picture into a file, which is there whole or not at all and replaces one of that name. Its ending says
   the format: .png, .jpg, .jpeg or .webp; with the program velmorant-codecs .avif, .jxl or .pdf, too. `quality` from 1
   to 100 counts for those that are lossy. The steps of its progress are rows; .webp, .avif and .jxl are encoded behind
   the last row, and that is not cancelled. `progress` may be NULL. */
velmorant_status velmorant_run_write(velmorant_run* run, const char* path, int quality, velmorant_progress progress,
                                     void* context);

/** Any thread: the call under way on this run ends soon with VELMORANT_CANCELLED. Without one under way: nothing. */
void velmorant_run_cancel(velmorant_run* run);

#ifdef __cplusplus
}
#endif

#endif
