#!/usr/bin/env bash
# Plants a breach in a copy of the tree and passes when the check refuses it and names it.
#
# usage: planted_breach.sh include TOOLS ROOT | header TOOLS ROOT COMPILER | export TOOLS LIBRARY
set -eu

kind=$1 tools=$2
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT

# refused WORD COMMAND...: the command must fail and its output must hold the word
refused() {
  local word=$1 output
  shift
  if output=$("$@" 2>&1); then
    echo "not seen: $word"
    exit 1
  fi
  case $output in
    *"$word"*) echo "seen: $word" ;;
    *) echo "refused for another reason: $output"; exit 1 ;;
  esac
}

case $kind in
  include)
    root=$3
    for breach in 'src/SmsAppPlugin:#include "PluginContainer.h"' 'src/SmsAppPlugin:#include <sqlite3.h>' \
      'src/SmsAppPlugin:#include <thread>' 'src/ModemPlugin:#include "SMSServiceImpl.h"' \
      'include:#include <boost/asio.hpp>' 'src/SmsPdu:#include "MyGlobalFunc.h"'; do
      rm -rf "$copy/tree" && mkdir "$copy/tree" && cp -r "$root/include" "$root/src" "$copy/tree/"
      echo "${breach#*:}" >"$copy/tree/${breach%%:*}/PlantedBreach.h"
      refused "PlantedBreach.h:1" python3 "$tools/check_includes.py" "$copy/tree"
    done
    ;;
  header)
    cp -r "$3/include" "$copy/"
    echo 'inline int Length(const VELK_wstring& text) { return static_cast<int>(text.size()); }' >"$copy/include/PlantedBreach.h"
    refused "PlantedBreach.h does not compile alone" "$tools/check_headers.sh" "$4" "$copy/include"
    ;;
  export)
    refused "FurtherSymbol" "$tools/check_exports.sh" "$3"
    ;;
  *)
    echo "planted_breach.sh: unknown kind $kind"
    exit 1
    ;;
esac
