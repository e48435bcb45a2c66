# The options every module of this collection shares: where the Korvel
# directory is and which corvanectl to run there.
from __future__ import absolute_import, division, print_function
__metaclass__ = type


class ModuleDocFragment(object):
    DOCUMENTATION = r'''
options:
  path:
    description: The Korvel directory.
    type: path
    required: true
  corvanectl:
    description: The corvanectl program to run; by default the one in C(path), else the one on PATH.
    type: path
'''
