#!/bin/sh
# placeholder until written
exit 0
