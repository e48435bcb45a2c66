# Finding and running corvanectl for the modules of this collection.
from __future__ import absolute_import, division, print_function
__metaclass__ = type

import os


def corvanectl_path(module):
    """The program the task names, else the one in the Korvel directory, else the one on PATH."""
    given = module.params.get('corvanectl')
    if given:
        return given
    beside = os.path.join(module.params['path'], 'corvanectl')
    if os.access(beside, os.X_OK):
        return beside
    return module.get_bin_path('corvanectl', required=True)


def run(module, args, data=None):
    """Runs corvanectl on the task's directory; returns (rc, stdout, stderr)."""
    command = [corvanectl_path(module), '-C', module.params['path']] + args
    return module.run_command(command, data=data, binary_data=True)


def fail(module, rc, out, err):
    """Fails the task with corvanectl's own words."""
    message = err.strip().replace('corvanectl: ', '') or out.strip() or 'corvanectl ended with status %d' % rc
    module.fail_json(msg=message, rc=rc, stdout=out, stderr=err)
