#pragma once

// Subcommands of the developer command; each gets the arguments after its name
// and returns the process status.
namespace nbconf {

int tokens(int argc, char** argv);
int check(int argc, char** argv);
int repo(int argc, char** argv);
int sem(int argc, char** argv);
int report(int argc, char** argv);
int preview(int argc, char** argv);
int verify(int argc, char** argv);

}  // namespace nbconf
