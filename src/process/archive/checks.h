// The checks made on a migration archive before a run, and the search for the CD-ROM it may be on.
// Each runs one shell pipeline and reads the first line of its output.
#ifndef BRINDLE_PROCESS_ARCHIVE_CHECKS_H
#define BRINDLE_PROCESS_ARCHIVE_CHECKS_H

#include <string>

/// 1 when file(1) calls `path` a zip, 0 when it does not, -1 (logged) when it says nothing.
int isZipfile(const char* path);

/// Total uncompressed size in bytes by the zip's listing; 0 without one, INT_MAX for more than that.
int zipSize(const char* path);

/// Free space of /tmp in blocks of 1024 bytes; 0 when df says nothing, INT_MAX for more than that.
int tmpSize();

/// Size of the file at `path` in bytes; 0 when ls says nothing, INT_MAX for more than that.
int tarsize(const char* path);

/// Always 1, whatever `path` is; runs nothing.
int is_tarfile(const char* path);

/// 0 when the zip's first entry is not encrypted, 1 when it is, -1 when that cannot be told.
int isEncrypted(const char* path);

/// zipSize and tmpSize without a limit, for comparing them. The output of their commands goes through a file
/// in `home`.
long long zip_bytes(const char* path, const std::string& home);
long long tmp_blocks(const std::string& home);

/// Mount point of the first mounted file system of type `fstype`; for "iso9660" /dev/cdrom is mounted
/// first. The caller frees the text with free(); its buffer has room for one more character. Null when
/// nothing of that type is mounted.
char* mount_cdrom_remote(const char* fstype);

/// The whole mount point of the disc that mount_cdrom_remote has called `named`, which ends at the first
/// blank: folders are named by the discs' labels, and those may have some. `named` itself when it is whole,
/// or no such disc is mounted.
std::string whole_mount_point(const std::string& named, const char* fstype);

#endif
