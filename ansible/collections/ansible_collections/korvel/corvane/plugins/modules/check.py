#!/usr/bin/python
# Lints a Korvel directory with corvanectl check; read-only.
from __future__ import absolute_import, division, print_function
__metaclass__ = type

DOCUMENTATION = r'''
---
module: check
short_description: Lint a Korvel directory with corvanectl check
version_added: "5.3.0"
description:
  - Reads the Korvel directory as Korvel does, with C(corvanectl check --json), and fails when Korvel would read
    something differently from what the files say (an error). Warnings do not fail the task.
  - Never changes anything.
extends_documentation_fragment:
  - korvel.corvane.corvanectl
attributes:
  check_mode:
    support: full
    description: The same as without check mode, since it writes nothing.
  diff_mode:
    support: none
author:
  - Corvane developers
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

import json

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.korvel.corvane.plugins.module_utils.corvanectl import fail, run


def main():
    module = AnsibleModule(
        argument_spec=dict(
            path=dict(type='path', required=True),
            corvanectl=dict(type='path'),
        ),
        supports_check_mode=True,
    )
    rc, out, err = run(module, ['check', '--json'])
    if rc not in (0, 1):
        fail(module, rc, out, err)
    try:
        findings = json.loads(out)
    except ValueError:
        fail(module, rc, out, err)
    errors = sum(1 for finding in findings if finding.get('severity') == 'error')
    if errors:
        module.fail_json(msg='%d errors: %s' % (errors, '; '.join(
            '%s:%s: %s' % (f['file'], f['line'], f['message']) for f in findings if f['severity'] == 'error')),
            findings=findings, errors=errors)
    module.exit_json(changed=False, findings=findings, errors=0)


if __name__ == '__main__':
    main()
