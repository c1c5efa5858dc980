#!/bin/sh
# Starts or stops the product's services on a machine of the lab: --start --all, --stop --all.
services=$(cat "$(dirname "$0")/service-control.list")
# What follows is the file of a log whose path has a blank, and nothing to this script.
case "$1 $2" in
  "--start --all") exec lab-machine start-services "$HALVARD_LAB" $services ;;
  "--stop --all") exec lab-machine stop-services "$HALVARD_LAB" $(printf '%s\n' $services | tac) ;;
esac
echo "usage: service-control.bat --start --all | --stop --all"
exit 2
