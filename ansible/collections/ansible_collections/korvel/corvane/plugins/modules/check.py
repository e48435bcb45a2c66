#!/usr/bin/python
# -*- coding: utf-8 -*-
# Copyright: Corvane developers
# GNU General Public License v3.0+ (see COPYING or https://www.gnu.org/licenses/gpl-3.0.txt)
"""Lints a Korvel directory with corvanectl check; read-only."""
from __future__ import absolute_import, division, print_function
__metaclass__ = type

DOCUMENTATION = r'''
---
module: check
short_description: Lint a Korvel directory with corvanectl check
version_added: "5.3.0"
description:
  - Reads the Korvel directory as Korvel does, with C(corvanectl check --json), and fails when Korvel would read
    something differently from what the files say (an error). Warnings do not fail the task; each is shown
    as a warning of the play.
  - Never changes anything.
extends_documentation_fragment:
  - korvel.corvane.corvanectl
  - korvel.corvane.corvanectl.read_only
author:
  - Corvane developers (@corvane)
notes:
  - Needs only read access to the Korvel directory, and takes no lock.
'''

EXAMPLES = r'''
- name: Lint before applying
  korvel.corvane.check:
    path: /opt/korvel
'''

RETURN = r'''
findings:
  description: Each finding of corvanectl check.
  returned: always
  type: list
  elements: dict
  sample: [{"file": "korvel.ini", "line": 14, "severity": "error",
            "message": "no such section: [Nonsense]; its keys go to the section before"}]
errors:
  description: How many of the findings are errors.
  returned: always
  type: int
  sample: 1
'''

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.korvel.corvane.plugins.module_utils.corvanectl import run_json


def main():
    module = AnsibleModule(
        argument_spec=dict(
            path=dict(type='path', required=True),
            corvanectl=dict(type='path'),
        ),
        supports_check_mode=True,
    )
    findings = run_json(module, ['check', '--json'], statuses=(0, 1))
    for finding in findings:
        if finding.get('severity') != 'error':
            module.warn('%s:%s: %s' % (finding['file'], finding['line'], finding['message']))
    errors = sum(1 for finding in findings if finding.get('severity') == 'error')
    if errors:
        module.fail_json(msg='%d errors: %s' % (errors, '; '.join(
            '%s:%s: %s' % (f['file'], f['line'], f['message']) for f in findings if f['severity'] == 'error')),
            findings=findings, errors=errors)
    module.exit_json(changed=False, findings=findings, errors=0)


if __name__ == '__main__':
    main()
