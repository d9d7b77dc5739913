#!/bin/sh
# Writes the help2man include with the options of each quillbay-cli command, taken from the
# command's own --help: quillbay-cli.h2m PROGRAM OUTPUT
set -eu
program=$1
output=$2
{
    echo "[COMMAND OPTIONS]"
    for command in mail letters search; do
        echo ".SS $command"
        echo ".nf"
        "$program" "$command" --help | sed -e 's/\\/\\e/g' -e "s/^[.']/\\\\\\&&/"
        echo ".fi"
    done
} > "$output"
