#include "state/state.h"

char OSName[256] = "";
char OSVersion[256] = "";
int isNLD = 0;
std::FILE* fp_log = nullptr;
char g_filename[256] = "";
int g_isEncrypted = 0;
char g_password[256] = "";
int timer = 0;

std::atomic<int> isPrinterPopupOpen{1};
std::atomic<int> isUserPopupOpen{1};
std::atomic<int> isWindowSelectDriverOpen{1};
std::atomic<int> isWindowSmbUsernamePasswordOpen{1};
std::atomic<int> isKilled{0};
std::atomic<bool> worker_runs{false};
std::atomic<char*> dir_name{nullptr};

char Username[256] = "";
char Password[256] = "";
const char* smburl = "";
const char* displaylabel = "";
char selecteddriver[1024] = "";
enum driver driverselection = STPHOTO;

int isDefaultUser = 1;
char cur_user[256] = "";
int isMultiUser = 0;
char* default_user = nullptr;
char new_dir_path[PATH_MAX] = "";
char font_dir_path[PATH_MAX] = "";
char homedirpath[256] = "";
char tarfilepath[256] = "";
GConfClient* client = nullptr;
char* Id = nullptr;
char* Driver = nullptr;
char Id2[256] = "";
char Driver2[256] = "";
