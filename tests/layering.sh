#!/usr/bin/env bash
# What must not be in the program's folders: the toolkit, the operating system, clocks, the
# environment. Prints every offending line; fails when there is one.
set -u
cd "$(dirname "$0")/.."
found=0

# forbid PATTERN WHY PATH...
forbid() {
  local pattern=$1 why=$2 lines
  shift 2
  lines=$(grep -rnE --include='*.cpp' --include='*.h' "$pattern" "$@")
  [ -z "$lines" ] && return
  printf '%s:\n%s\n' "$why" "$lines"
  found=1
}

program=(util base app store killfile nntp thread article groups)
contracts=(port/*.h port/*.cpp port/common)

forbid '#include *[<"]Q[A-Z]' 'the toolkit in the program' "${program[@]}" "${contracts[@]}" \
  port/linux port/fake script res/commands.cpp res/commands.h res/resource.h res/dialog_templates.h
forbid '#include *<(unistd\.h|sys/|fcntl\.h|netinet/|arpa/|netdb\.h|poll\.h|dlfcn\.h|systemd/|sqlite3\.h)' \
  'the operating system in the program' "${program[@]}" "${contracts[@]}"
forbid '#include *<gdbm\.h>' 'the database library outside store/' util base app killfile nntp thread \
  article groups \
  "${contracts[@]}" port/linux port/fake script qt
forbid '\b(getenv|setenv|std::filesystem|system_clock|steady_clock::now|gettimeofday|localtime|fopen|ofstream|ifstream)\b' \
  'a service that belongs behind the port' "${program[@]}" "${contracts[@]}"
forbid '#include *"(qt|script|demo|tests|bench)/' 'an upward include' "${program[@]}" \
  "${contracts[@]}" port/linux port/fake res
forbid '#include *"(app/|nntp/|thread/|article/|groups/|killfile/)' 'an upward include' util port store base
forbid '#include *"(article|groups)/' 'an upward include' killfile nntp thread
forbid '#include *"groups/' 'an upward include' article
forbid '#include *"port/(linux|fake)/' 'a device in the program' "${program[@]}" "${contracts[@]}"

[ $found -eq 0 ] && printf 'Nothing is where it must not be.\n'
exit $found
