# Installs language file NEW as TARGET. A language file serves every program
# of the family, each in a section of its own: when TARGET exists, only its
# [Corvane] section is replaced (or added at the end), and every other byte
# of it stays as it is. (file(READ) drops carriage returns, so the files are
# measured in hexadecimal and cut and joined by head and tail; the result
# is renamed over the old file with its owner and mode.)
#   cmake -DNEW=data/lang_00.ini -DTARGET=/opt/korvel/lang_00.ini -P merge_language.cmake

# The first place at or after `from` where hexadecimal `pattern` stands on
# a byte boundary of `hex`, or -1.
function(find_bytes hex pattern from result)
  string(LENGTH "${hex}" length)
  while(from LESS length)
    string(SUBSTRING "${hex}" ${from} -1 rest)
    string(FIND "${rest}" "${pattern}" at)
    if(at EQUAL -1)
      break()
    endif()
    math(EXPR at "${from} + ${at}")
    math(EXPR odd "${at} % 2")
    if(odd EQUAL 0)
      set(${result} ${at} PARENT_SCOPE)
      return()
    endif()
    math(EXPR from "${at} + 1")
  endwhile()
  set(${result} -1 PARENT_SCOPE)
endfunction()

# The [Corvane] section of a file: the byte where its header line starts and
# the byte where the next header (or the end) starts; -1 when there is none.
function(corvane_section file begin_var end_var)
  file(READ "${file}" hex HEX)
  set(header "5b436f7276616e655d")  # [Corvane]
  string(SUBSTRING "${hex}" 0 18 head)
  set(begin -1)
  if(head STREQUAL header)
    set(begin 0)
  else()
    find_bytes("${hex}" "0a${header}" 0 at)
    if(at GREATER -1)
      math(EXPR begin "${at} + 2")
    endif()
  endif()
  string(LENGTH "${hex}" end)
  if(begin GREATER -1)
    find_bytes("${hex}" "0a5b" ${begin} next)  # a line that starts with "["
    if(next GREATER -1)
      math(EXPR end "${next} + 2")
    endif()
    math(EXPR begin "${begin} / 2")
  endif()
  math(EXPR end "${end} / 2")
  set(${begin_var} ${begin} PARENT_SCOPE)
  set(${end_var} ${end} PARENT_SCOPE)
endfunction()

if(NOT EXISTS "${TARGET}")
  file(COPY_FILE "${NEW}" "${TARGET}")
  message(STATUS "Installing: ${TARGET}")
  return()
endif()
corvane_section("${NEW}" new_begin new_end)
if(new_begin EQUAL -1)
  message(FATAL_ERROR "${NEW} has no [Corvane] section")
endif()
corvane_section("${TARGET}" old_begin old_end)
math(EXPR new_length "${new_end} - ${new_begin}")
if(old_begin EQUAL -1)
  # Added at the end, on a line of its own.
  set(script "cat \"$1\"; [ ! -s \"$1\" ] || [ \"$(tail -c 1 \"$1\" | od -An -c | tr -d ' ')\" = '\\n' ] || echo;
              tail -c +$(($2 + 1)) \"$3\" | head -c $4")
else()
  set(script "head -c $5 \"$1\"; tail -c +$(($2 + 1)) \"$3\" | head -c $4; tail -c +$(($6 + 1)) \"$1\"")
endif()
execute_process(COMMAND sh -c "(${script}) > \"$1.merging\" && if cmp -s \"$1.merging\" \"$1\"; then rm \"$1.merging\"; echo same;
                               else chown --reference=\"$1\" \"$1.merging\" 2>/dev/null; chmod --reference=\"$1\" \"$1.merging\" &&
                               mv \"$1.merging\" \"$1\"; fi"
                        merge "${TARGET}" ${new_begin} "${NEW}" ${new_length} ${old_begin} ${old_end}
                OUTPUT_VARIABLE same COMMAND_ERROR_IS_FATAL ANY)
if(same)
  message(STATUS "Up-to-date: ${TARGET}")
else()
  message(STATUS "Merging [Corvane] into: ${TARGET}")
endif()
