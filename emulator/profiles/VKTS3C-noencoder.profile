# Series 3, 19-character firmware text without encoder or smart card (letters 6 and 7 are '-').
model = VKTS3C
firmware = VKTS3C-- V1.02.0345
serial = S3C000003
head_resistance = 2950
panels_printed = 1234
printer_errors = 0
ribbon_code = 43
ribbon_remaining = 120
ribbon_capacity = 200
encoder = no
