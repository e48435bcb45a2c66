# -*- coding: utf-8 -*-
# Copyright: Corvane developers
# GNU General Public License v3.0+ (see COPYING or https://www.gnu.org/licenses/gpl-3.0.txt)
"""Finding and running corvanectl for the modules of this collection."""
from __future__ import absolute_import, division, print_function
__metaclass__ = type

import json
import os
import re


def locate(module):
    """The corvanectl to run on the task's directory, and None; or None and what keeps the task from running it.
    The program is the one the task names, else the one in the Korvel directory, else the one on PATH."""
    path = module.params['path']
    if not os.path.isdir(path):
        return None, '%s: no such directory' % path
    if not os.path.isfile(os.path.join(path, 'korvel.ini')):
        return None, '%s: no korvel.ini there; path names the Korvel directory' % path
    beside = os.path.join(path, 'corvanectl')
    program = module.params.get('corvanectl') or (beside if os.access(beside, os.X_OK) else module.get_bin_path('corvanectl'))
    return program, None if program else 'corvanectl is neither in %s nor on PATH; the corvanectl option names it' % path


def run(module, args):
    """Runs corvanectl on the task's directory, waiting for its lock as the task allows; returns (rc, stdout, stderr)."""
    program, problem = locate(module)
    if problem:
        module.fail_json(msg=problem)
    wait = module.params.get('wait') or 0
    return module.run_command([program, '-C', module.params['path']] + (['--wait=%d' % wait] if wait > 0 else []) + args)


def fail(module, rc, out, err, **result):
    """Fails the task with corvanectl's own words."""
    message = err.strip().replace('corvanectl: ', '') or out.strip() or 'corvanectl ended with status %d' % rc
    module.fail_json(msg=message, rc=rc, stdout=out, stderr=err, **result)


def run_json(module, args, statuses=(0,)):
    """Runs corvanectl with a JSON answer and returns it; fails the task with its message otherwise."""
    rc, out, err = run(module, args)
    if rc not in statuses:
        fail(module, rc, out, err)
    try:
        return json.loads(out)
    except ValueError:
        fail(module, rc, out, err)


def _pattern(name):
    """A regular expression for a file or section name of the schema ("UPS_NN", "group_NN.ini") and its named forms."""
    if 'NN' not in name:
        return re.escape(name)
    before, after = name.split('NN', 1)
    named = r'group\[.*\]' if before == 'group_' else re.escape(before.rstrip('_')) + r'\[.*\]'
    return '(?:%s\\d\\d%s|%s)' % (re.escape(before), re.escape(after), named)


def hide_secrets(module, settings):
    """Registers the value of every secret key in settings (passwords, their digests, SNMP communities, as
    corvanectl keys --json marks them) with Ansible's no-log mechanism, so that no output shows it. Until
    that is known, a failure shows no settings at all."""
    program, problem = locate(module)
    rc, out, err = module.run_command([program, 'keys', '--json']) if program else (127, '', '')
    try:
        schema = json.loads(out) if rc == 0 else None
    except ValueError:
        schema = None
    if schema is None:
        shown = {'module_args': dict(module.params, settings='NOT SHOWN: corvanectl did not say which keys are secret')}
        if problem:
            module.fail_json(msg=problem, invocation=shown)
        fail(module, rc, out, err, invocation=shown)
    secrets = [(re.compile(_pattern(key['file'])), re.compile(_pattern(key['section'])), key['name']) for key in schema if key.get('secret')]
    for file_name, sections in settings.items():
        for section, keys in (sections.items() if isinstance(sections, dict) else ()):
            for key, value in (keys.items() if isinstance(keys, dict) else ()):
                hidden = any(f.fullmatch(file_name) and s.fullmatch(section) and key == k for f, s, k in secrets)
                # 0 is no secret (no password set), and masking it would mask every 0 of the output.
                if hidden and str(value) not in ('', '0'):
                    module.no_log_values.add(str(value))
